#include "store/windows/frmfinder.h"
#include "storetest.h"
#include "testcontext.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

#include <gtest/gtest.h>

namespace {

using store::frmFinder;

class FinderTest : public ::testing::Test
{
protected:
    // The data folder holds BHP and RIO, its subfolder "asx" BHX "Broken Hill Mining".
    void SetUp() override
    {
        store_test::makeFolder(data, {{"BHP", "BHP Group"}, {"RIO", "Rio Tinto"}});
        store_test::makeFolder(data + "/asx", {{"BHX", "Broken Hill Mining"}});
        context->onStatusText = [this](const QString& text) { statusTexts << text; };
    }

    // Every row as its three columns and the folder its tool tip names.
    QStringList rows() const
    {
        QStringList texts;
        for (int i = 0; i < window.ListView1->topLevelItemCount(); ++i) {
            const QTreeWidgetItem* row = window.ListView1->topLevelItem(i);
            texts << QStringList{row->text(0), row->text(1), row->text(2), QDir(data).relativeFilePath(row->toolTip(0))}
                         .join(u'|');
        }
        return texts;
    }

    testing_support::TestContext context;
    QString data = context.makeFolder("data");
    frmFinder window{context};
    QStringList statusTexts;
};

// An empty folder box is asked for. Typed letters show as capitals and Enter searches; the status bar
// says "Finding....." meanwhile. A folder that is not there empties the list and says nothing.
TEST_F(FinderTest, EnterInThePatternBoxSearchesInCapitals)
{
    window.Text2->setText("  ");
    window.Text1->setFocus();
    window.Command1->click();
    EXPECT_EQ(store_test::promptTexts(context.prompter()), QStringList{"Search Folder Not Provide."});
    EXPECT_EQ(window.focusWidget(), window.Text2);
    EXPECT_TRUE(statusTexts.isEmpty());

    window.Text2->setText(" " + data + " ");
    QTest::keyClicks(window.Text1, "bh*");
    EXPECT_EQ(window.Text1->text(), "BH*");
    QTest::keyClick(window.Text1, Qt::Key_Return);
    EXPECT_EQ(rows(), (QStringList{"BHP Group|BHP|F1.DAT|."}));
    EXPECT_EQ(statusTexts, (QStringList{"Finding.....", ""}));
    window.Check1->setChecked(true);
    window.Command1->click();
    EXPECT_EQ(rows(), (QStringList{"BHP Group|BHP|F1.DAT|.", "Broken Hill Mining|BHX|F1.DAT|asx"}));
    window.Text2->setText(data + "/missing");
    window.Command1->click();
    EXPECT_TRUE(rows().isEmpty());
    EXPECT_EQ(context.prompter().prompts.size(), 1);
}

// The folder lives until the program ends: a closing window with a folder typed or browsed in hands it
// to the next one; one closed with an empty box keeps the folder remembered before.
TEST_F(FinderTest, TheFolderIsRememberedForTheNextWindow)
{
    EXPECT_TRUE(window.Text2->text().isEmpty());
    context.prompter().folders = {" " + data + " "};
    window.Command3->click();
    EXPECT_EQ(window.Text2->text(), data);
    window.Command2->click();
    frmFinder second(context);
    EXPECT_EQ(second.Text2->text(), data);
    second.Text2->clear();
    second.reject();
    EXPECT_EQ(frmFinder(context).Text2->text(), data);
}

} // namespace
