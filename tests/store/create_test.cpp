#include "store/windows/frmcreate.h"
#include "storetest.h"
#include "symbols/symbolsdb.h"
#include "testcontext.h"

#include <QComboBox>
#include <QDateEdit>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include <optional>

namespace {

using store::frmCreate;
using testing_support::Prompt;

using store_test::securitiesOf;

class CreateTest : public ::testing::Test
{
protected:
    CreateTest()
    {
        QObject::connect(&window, &QDialog::finished, [this](int result) { closedWith = result; });
    }

    void fill(const QString& folderText, const QString& name, const QString& symbol)
    {
        window.Text1->setText(folderText);
        window.Text2->setText(name);
        window.Text3->setText(symbol);
    }

    testing_support::TestContext context;
    QString folder = context.makeFolder("data");
    frmCreate window{context};
    std::optional<int> closedWith;
};

// Create keeps the folder, the first date and the periodicity for the next security, and the window
// open. Typed symbols go in upper case, so "ibm" meets "IBM" and is refused; Enter in the Symbol box
// creates, and a refusal clears the boxes as a creation does.
TEST_F(CreateTest, CreatesEmptySecuritiesAndKeepsFolderDateAndPeriodicityForTheNext)
{
    window.DTPicker1->setDate(QDate(2004, 3, 5));
    fill(QStringLiteral("  %1 ").arg(folder), " Intl Business Machines ", "IBM");
    window.Command3->click();
    for (const char* symbol : {"VOD", "BHP"}) {
        window.Combo1->setCurrentIndex(window.Combo1->currentIndex() + 1);
        fill(window.Text1->text(), QLatin1String(symbol).toString(), QLatin1String(symbol).toString());
        window.Command3->click();
    }
    EXPECT_TRUE(context.prompter().prompts.isEmpty());
    fill(window.Text1->text(), "Again", QString());
    QTest::keyClicks(window.Text3, "ibm");
    EXPECT_EQ(window.Text3->text(), "IBM");
    QTest::keyClick(window.Text3, Qt::Key_Return);
    EXPECT_EQ(context.prompter().messages(), QStringList{"Already Exists."});
    EXPECT_EQ(store_test::listingOf(folder),
              QStringList({"IBM|Intl Business Machines|1|20040305", "VOD|VOD|2|20040305", "BHP|BHP|3|20040305"}));
    EXPECT_TRUE(store_test::barsOf(folder, "IBM").empty());
    ASSERT_EQ(context->state.recent.size(), 3);
    EXPECT_EQ(context->state.recent[0].caption, folder + "\\Intl Business Machines");
    EXPECT_TRUE(window.Text2->text().isEmpty() && window.Text3->text().isEmpty());
    EXPECT_FALSE(closedWith);
}

// OK as well as Create: the user gets to correct the fields, and the missing folder is never asked about.
TEST_F(CreateTest, UnusableFieldsAreNamedAndNothingIsTouched)
{
    const QString missing = folder + "/new";
    const std::tuple<const char*, const char*, int, const char*> refusals[] = {
        {"IBM", " \t", 2024, "All Fields Are Neccessary."},
        {"Fifteen letters", "ABCDEFGHIJKLMNO", 2024, "The symbol \"ABCDEFGHIJKLMNO\" is longer than 14 characters."},
        {"IBM", "IBM", 1899, "18990102 is not a date between 1900-01-01 and 2099-12-31."}};
    QStringList expected;
    for (const auto& [name, symbol, year, message] : refusals) {
        fill(missing, name, symbol);
        window.DTPicker1->setDate(QDate(year, 1, 2));
        window.Command4->click();
        expected << message;
    }
    EXPECT_EQ(context.prompter().messages(), expected);
    EXPECT_FALSE(closedWith);
    EXPECT_FALSE(QFileInfo::exists(missing));
    EXPECT_TRUE(context->state.recent.isEmpty());
}

// A missing folder is created only when the answer is Yes. A damaged one gives no message and is left as
// it was: a failing component never stops the sequence, and the recent entry is still added.
TEST_F(CreateTest, MissingFolderIsCreatedOnlyWhenTheAnswerIsYesAndADamagedOneIsLeftAsItWas)
{
    const QString missing = folder + "/new/deeper";
    fill(missing, "IBM", "IBM");
    context.prompter().answers = {false, true};
    window.Command3->click();
    EXPECT_FALSE(QFileInfo::exists(missing));
    EXPECT_EQ(window.Text2->text(), "IBM");

    window.Command3->click();
    EXPECT_EQ(securitiesOf(missing).size(), 1u);
    EXPECT_EQ(context.prompter().prompts.at(0).kind, Prompt::Kind::Question);
    EXPECT_EQ(store_test::promptTexts(context.prompter()),
              QStringList(2, "Directory Not Found.\nDo You Want Create It?"));

    store_test::writeFile(QDir(folder).filePath("MASTER"), QByteArray("not an index"));
    fill(folder, "IBM", "IBM");
    window.Command3->click();
    EXPECT_EQ(context.prompter().prompts.size(), 2);
    EXPECT_EQ(store_test::readFile(QDir(folder).filePath("MASTER")), QByteArray("not an index"));
    EXPECT_EQ(context->state.recent.size(), 2);
    EXPECT_TRUE(window.Text2->text().isEmpty());
}

// Browse takes even a cancel. OK closes whatever the outcome once the fields are usable; every way out
// hands the folder on to the next window, which starts from the program folder only while there is none.
TEST_F(CreateTest, OkAndCloseLeaveTheTrimmedFolderAsTheSharedOne)
{
    EXPECT_EQ(window.Text1->text(), context.programFolder());
    EXPECT_EQ(window.DTPicker1->date(), context->today());
    context.prompter().folders = {folder};
    window.Command1->click();
    EXPECT_EQ(window.Text1->text(), folder);
    window.Command1->click();
    EXPECT_TRUE(window.Text1->text().isEmpty());
    fill(QStringLiteral(" %1/absent ").arg(folder), "IBM", "IBM");
    context.prompter().answers = {false};
    window.Command4->click(); // the folder question is answered No
    EXPECT_EQ(closedWith, QDialog::Accepted);
    EXPECT_EQ(context->state.currentFolder, folder + "/absent");

    frmCreate second(context);
    EXPECT_EQ(second.Text1->text(), folder + "/absent");
    second.Text1->setText(folder);
    second.Command5->click();
    EXPECT_EQ(context->state.currentFolder, folder);
}

TEST_F(CreateTest, LookupFillsNameAndSymbolAndItsCloseLeavesThem)
{
    ASSERT_TRUE(context.installProgramFile(symbols::kDatabaseFileName));
    QString name, symbol;
    context.modalDrivers.push_back([&](QDialog& lookup) {
        auto* list = lookup.findChild<QTreeWidget*>("ListView1");
        list->setCurrentItem(list->topLevelItem(0));
        name = list->topLevelItem(0)->text(0);
        symbol = list->topLevelItem(0)->text(1);
        lookup.findChild<QPushButton*>("Command1")->click();
        return lookup.result();
    });
    context.modalDrivers.push_back([](QDialog& lookup) {
        lookup.findChild<QPushButton*>("Command3")->click();
        return lookup.result();
    });
    window.Command2->click();
    ASSERT_FALSE(name.isEmpty());
    EXPECT_EQ(window.Text2->text(), name.trimmed());
    EXPECT_EQ(window.Text3->text(), symbol.trimmed());
    window.Command2->click();
    EXPECT_EQ(window.Text2->text(), name.trimmed());
    EXPECT_EQ(context.modalsShown, QStringList({"frmLookup", "frmLookup"}));
}

} // namespace
