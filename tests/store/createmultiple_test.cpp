#include "store/windows/frmcreatemultiple.h"
#include "storetest.h"
#include "symbols/symbolsdb.h"
#include "symbols/windows/frmlookup.h"
#include "testcontext.h"

#include <QDateEdit>
#include <QFileInfo>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>

#include <gtest/gtest.h>

namespace {

using store::frmCreateMultiple;
using store_test::securitiesOf;
using testing_support::Prompt;

class CreateMultipleTest : public ::testing::Test
{
protected:
    QStringList rows(const frmCreateMultiple& window) const
    {
        QStringList texts;
        for (int i = 0; i < window.ListView1->topLevelItemCount(); ++i)
            texts << window.ListView1->topLevelItem(i)->text(0) + u'|' + window.ListView1->topLevelItem(i)->text(1);
        return texts;
    }

    testing_support::TestContext context;
    QString folder = context.makeFolder("data");
};

// A symbol the folder has, or one row it cannot hold, is named and passed over; the others are created,
// daily, with the chosen first date, and the run always ends with its message.
TEST_F(CreateMultipleTest, CreatesEveryRowItCanAndNamesTheOthers)
{
    // The lookup's last multiple choice, as the window finds it when it opens.
    context->state.lookupNames = {"Alpha",
                                  "Alpha again",
                                  "A name of forty-six characters, one too many!!",
                                  " Beta Corp "};
    context->state.lookupSymbols = {"AAA", "AAA", "LONG", " BBB "};
    frmCreateMultiple window(context);
    EXPECT_EQ(rows(window).size(), 4);
    window.Text1->setText(folder);
    window.DTPicker1->setDate(QDate(2004, 3, 5));
    window.Command3->click();

    EXPECT_EQ(store_test::listingOf(folder), QStringList({"AAA|Alpha|1|20040305", "BBB|Beta Corp|1|20040305"}));
    EXPECT_EQ(context.prompter().messages(),
              (QStringList{"Security AAA Already Exists.",
                           "The name \"A name of forty-six characters, one too many!!\" is longer than 45 characters.",
                           "Securities are created."}));
    EXPECT_EQ(rows(window).size(), 4);

    // The list stays: a second run only reports what exists now.
    context.prompter().prompts.clear();
    window.Command3->click();
    EXPECT_EQ(context.prompter().messages().count("Securities are created."), 1);
    EXPECT_EQ(context.prompter().messages().size(), 5);
}

// A folder browsed for gets a separator at its end, a cancelled choice leaves the box empty, not "/".
// Nothing is written without a folder, or when the user does not want it created; an empty list in a
// folder still ends with the run's message.
TEST_F(CreateMultipleTest, NoFolderOrARefusedOneWritesNothing)
{
    frmCreateMultiple window(context);
    EXPECT_EQ(window.Text1->text(), context.programFolder());
    context.prompter().folders = {folder, folder + "/", QString()};
    for (const QString& expected : {folder + "/", folder + "/", QString()}) {
        window.Command1->click();
        EXPECT_EQ(window.Text1->text(), expected);
    }
    context.prompter().prompts.clear();
    const QString missing = folder + "/new";
    context.prompter().answers = {false};
    for (const QString& text : {QStringLiteral(" "), missing, folder}) {
        window.Text1->setText(text);
        window.Command3->click();
    }

    EXPECT_FALSE(QFileInfo::exists(missing));
    EXPECT_TRUE(securitiesOf(folder).empty());
    EXPECT_EQ(context.prompter().prompts.at(1).kind, Prompt::Kind::Question);
    EXPECT_EQ(
        store_test::promptTexts(context.prompter()),
        QStringList(
            {"Please give the Folder.", "Directory Not Found.\nDo You Want Create It?", "Securities are created."}));
}

// The lookup opens for several entries; a name the list has already is not added again, also when the
// lookup is closed without a new choice.
TEST_F(CreateMultipleTest, SymbolLookupAddsOnlyNamesNotListedYet)
{
    ASSERT_TRUE(context.installProgramFile(symbols::kDatabaseFileName));
    QStringList chosen;
    auto chooseFirstTwo = [&](QDialog& dialog) {
        EXPECT_TRUE(dynamic_cast<symbols::frmLookup&>(dialog).multipleChoice());
        auto* list = dialog.findChild<QTreeWidget*>("ListView1");
        chosen.clear();
        for (int i = 0; i < 2; ++i) {
            list->topLevelItem(i)->setSelected(true);
            chosen << list->topLevelItem(i)->text(0).trimmed() + u'|' + list->topLevelItem(i)->text(1).trimmed();
        }
        dialog.findChild<QPushButton*>("Command1")->click();
        return dialog.result();
    };
    context.modalDrivers = {chooseFirstTwo, chooseFirstTwo, [](QDialog& dialog) {
                                dialog.findChild<QPushButton*>("Command3")->click();
                                return dialog.result();
                            }};
    context->state.lookupNames = {"Opened with"};
    context->state.lookupSymbols = {"OPEN"};
    frmCreateMultiple window(context);
    for (int i = 0; i < 3; ++i)
        window.Command2->click();
    ASSERT_EQ(chosen.size(), 2);
    EXPECT_EQ(rows(window), QStringList{"Opened with|OPEN"} + chosen);
    EXPECT_EQ(context.modalsShown, QStringList({"frmLookup", "frmLookup", "frmLookup"}));
}

} // namespace
