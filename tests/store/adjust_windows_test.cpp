// The adjust-security and delete-data windows through their controls, on real folders.

#include "store/windows/folderchooser.h"
#include "store/windows/frmadjustsecurity.h"
#include "store/windows/frmdeletedata.h"
#include "storetest.h"
#include "testcontext.h"

#include <QComboBox>
#include <QDateEdit>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>

#include <gtest/gtest.h>

namespace {

using store_test::securitiesOf;
using store_test::operator<<;
using store_test::snapshot;

QStringList namesIn(const QListWidget& list)
{
    QStringList names;
    for (int row = 0; row < list.count(); ++row)
        names << list.item(row)->text();
    return names;
}

QStringList symbolsIn(const QString& folder)
{
    QStringList symbols;
    for (const auto& security : securitiesOf(folder))
        symbols << security.symbol;
    return symbols;
}

// A folder with ABC "Alpha" (bars of 2 to 5 January 2024) and DEF "Delta" (no bars), which is the
// shared current folder, so the windows open on it.
class AdjustWindowsTest : public ::testing::Test
{
protected:
    AdjustWindowsTest()
    {
        store_test::makeAlphaAndDelta(folder);
        context->state.currentFolder = folder;
    }

    static void click(QListWidget& list, int row)
    {
        list.setCurrentRow(row);
        emit list.itemClicked(list.item(row));
    }

    testing_support::TestContext context;
    QString folder = context.makeFolder("data");
};

// Change renames the clicked security. With nothing clicked, or to the symbol of another security, it
// changes nothing and says nothing, and the window stays usable; which names and symbols the writer
// refuses is its own test's matter. Delete takes the symbol box as it stands, not the security clicked.
TEST_F(AdjustWindowsTest, ChangeRenamesTheClickedSecurityAndDeleteTakesTheSymbolBox)
{
    store::frmAdjustSecurity window(context);
    const auto before = snapshot(folder);
    window.Text1->setText("Alpha");
    window.Text2->setText("ABX");
    window.Command1->click();
    click(*window.List1, 0);
    EXPECT_EQ(QStringList({window.Text1->text(), window.Text2->text(), window.DTPicker1->date().toString()}),
              QStringList({"Alpha", "ABC", QDate(2024, 1, 2).toString()}));
    window.Text2->setText("DEF");
    window.Command1->click();
    EXPECT_EQ(snapshot(folder), before);

    window.Text1->setText(" Alpha Renamed ");
    window.Text2->setText("ABX");
    window.Command1->click();
    EXPECT_EQ(namesIn(*window.List1), (QStringList{"Alpha Renamed", "Delta"}));
    EXPECT_EQ(window.Text1->text(), " Alpha Renamed ");
    EXPECT_EQ(symbolsIn(folder), (QStringList{"ABX", "DEF"}));
    window.Text2->setText("DEF");
    window.Command2->click();
    EXPECT_EQ(namesIn(*window.List1), QStringList{"Alpha Renamed"});
    EXPECT_EQ(symbolsIn(folder), QStringList{"ABX"});
    EXPECT_TRUE(context.prompter().prompts.isEmpty());
}

// Delete before removes the bars up to the date, even from an index without a first date (0); removing
// them all leaves the index dates at the newest bar removed, so a download continues after it. The folder
// chooser offers the root and the home folder; one without securities disables Delete.
TEST_F(AdjustWindowsTest, DeleteBeforeRemovesUpToTheDateAndDeleteAfterNothing)
{
    QByteArray master = store_test::readFile(folder + "/MASTER");
    master.replace(53 + 25, 4, QByteArray(4, '\0'));
    store_test::writeFile(folder + "/MASTER", master);
    ASSERT_EQ(securitiesOf(folder).at(0).firstDate, 0);
    store::frmDeleteData window(context);
    EXPECT_TRUE(window.Command1->isEnabled());
    click(*window.List1, 0);
    EXPECT_EQ(window.Text2->text(), "ABC");
    EXPECT_EQ(window.DTPicker1->date(), QDate(2024, 1, 5));
    window.DTPicker1->setDate(QDate(2024, 1, 3));
    window.Option2->setChecked(true);
    window.Command1->click();
    EXPECT_EQ(store_test::barDatesOf(folder, "ABC").size(), 4u);
    window.Option1->setChecked(true);
    window.Command1->click();
    EXPECT_EQ(store_test::barDatesOf(folder, "ABC"), (std::vector<qint32>{20240104, 20240105}));
    window.DTPicker1->setDate(QDate(2024, 1, 5));
    window.Command1->click();
    EXPECT_TRUE(store_test::barDatesOf(folder, "ABC").empty());
    const store::SecurityDescriptor emptied = securitiesOf(folder).at(0);
    EXPECT_EQ(QList<qint32>({emptied.firstDate, emptied.lastDate}), QList<qint32>({20240105, 20240105}));
    EXPECT_TRUE(context.prompter().prompts.isEmpty());

    QComboBox& drives = *window.folders->Drive1;
    ASSERT_GE(drives.count(), 2);
    EXPECT_EQ(QStringList({drives.itemText(0), drives.itemText(1)}), QStringList({QDir::rootPath(), QDir::homePath()}));
    drives.setCurrentIndex(0);
    emit drives.activated(0);
    EXPECT_EQ(window.folders->path(), QDir::rootPath());
    EXPECT_EQ(window.List1->count(), 0);
    EXPECT_FALSE(window.Command1->isEnabled());
}

} // namespace
