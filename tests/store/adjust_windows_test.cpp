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

TEST_F(AdjustWindowsTest, FolderChooserListsRootAndHomeAndOpensOnTheCurrentFolder)
{
    store::frmAdjustSecurity window(context);
    QComboBox& drives = *window.folders->Drive1;
    ASSERT_GE(drives.count(), 2);
    EXPECT_EQ(drives.itemText(0), QDir::rootPath());
    EXPECT_EQ(drives.itemText(1), QDir::homePath());
    EXPECT_EQ(window.folders->path(), folder);
    EXPECT_EQ(namesIn(*window.List1), (QStringList{"Alpha", "Delta"}));

    drives.setCurrentIndex(0);
    emit drives.activated(0);
    EXPECT_EQ(window.folders->path(), QDir::rootPath());
    EXPECT_TRUE(namesIn(*window.List1).isEmpty());
}

TEST_F(AdjustWindowsTest, ChangeRenamesTheClickedSecurityAndDeleteTakesTheSymbolBox)
{
    store::frmAdjustSecurity window(context);
    click(*window.List1, 0);
    EXPECT_EQ(window.Text1->text(), "Alpha");
    EXPECT_EQ(window.Text2->text(), "ABC");
    EXPECT_EQ(window.DTPicker1->date(), QDate(2024, 1, 2));

    window.Text1->setText(" Alpha Renamed ");
    window.Text2->setText("ABX");
    window.Command1->click();
    EXPECT_EQ(namesIn(*window.List1), (QStringList{"Alpha Renamed", "Delta"}));
    EXPECT_EQ(window.Text1->text(), " Alpha Renamed ");
    EXPECT_EQ(symbolsIn(folder), (QStringList{"ABX", "DEF"}));

    // The symbol box as it stands, not the security clicked.
    window.Text2->setText("DEF");
    window.Command2->click();
    EXPECT_EQ(namesIn(*window.List1), QStringList{"Alpha Renamed"});
    EXPECT_EQ(symbolsIn(folder), QStringList{"ABX"});
    EXPECT_TRUE(context.prompter().prompts.isEmpty());
}

// With nothing clicked, or with the symbol of another security, nothing changes and nothing is shown; the
// window and the folder stay usable. Which names and symbols the writer refuses is its own test's matter.
TEST_F(AdjustWindowsTest, RefusedChangesEndSilentlyAndChangeNothing)
{
    store::frmAdjustSecurity window(context);
    const auto before = snapshot(folder);
    window.Text1->setText("Alpha");
    window.Text2->setText("ABX");
    window.Command1->click();
    click(*window.List1, 0);
    window.Text2->setText("DEF");
    window.Command1->click();
    EXPECT_EQ(snapshot(folder), before);
    EXPECT_EQ(namesIn(*window.List1), (QStringList{"Alpha", "Delta"}));
    EXPECT_TRUE(context.prompter().prompts.isEmpty());
    window.Text2->setText("XYZ");
    window.Command1->click();
    EXPECT_EQ(symbolsIn(folder), (QStringList{"XYZ", "DEF"}));
}

TEST_F(AdjustWindowsTest, DeleteBeforeRemovesUpToTheDateAndDeleteAfterNothing)
{
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
    EXPECT_TRUE(context.prompter().prompts.isEmpty());

    window.folders->setPath(context.makeFolder("empty"));
    EXPECT_FALSE(window.Command1->isEnabled());
}

// An index without a first date (0) still has the bars up to the date removed; removing them all
// leaves the dates at the newest bar removed, so a download continues after it.
TEST_F(AdjustWindowsTest, UnknownFirstDateStillRemovesAndAnEmptiedSecurityKeepsItsLastDate)
{
    QByteArray master = store_test::readFile(folder + "/MASTER");
    master.replace(53 + 25, 4, QByteArray(4, '\0'));
    store_test::writeFile(folder + "/MASTER", master);
    ASSERT_EQ(securitiesOf(folder).at(0).firstDate, 0);

    store::frmDeleteData window(context);
    click(*window.List1, 0);
    window.Command1->click();
    EXPECT_TRUE(store_test::barDatesOf(folder, "ABC").empty());
    const store::SecurityDescriptor emptied = securitiesOf(folder).at(0);
    EXPECT_EQ(emptied.firstDate, 20240105);
    EXPECT_EQ(emptied.lastDate, 20240105);
}

} // namespace
