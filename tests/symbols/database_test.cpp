#include "symbols/catalogue.h"
#include "symbolsfixture.h"

#include <QFile>

#include <gtest/gtest.h>

namespace {

using symbols::CatalogueEntry;
using symbols::Database;
using symbols::DatabaseError;

std::vector<CatalogueEntry> shippedCatalogue()
{
    QFile catalogue(QStringLiteral(TICKSMITH_CATALOGUE));
    EXPECT_TRUE(catalogue.open(QIODevice::ReadOnly));
    return symbols::parseCatalogue(QString::fromUtf8(catalogue.readAll()));
}

// The engine's message for a failed open, or empty text when it opened.
QString openError(const QString& file, const QString& connect)
{
    try {
        Database database(file, connect);
        return {};
    } catch (const DatabaseError& error) {
        return error.text();
    }
}

TEST_F(SymbolsTest, BuiltDatabaseIsEncryptedAndHoldsTheCatalogueAndOneSettingsRow)
{
    QFile raw(file());
    ASSERT_TRUE(raw.open(QIODevice::ReadOnly));
    EXPECT_FALSE(raw.read(16).startsWith("SQLite format 3")) << "the file must not be readable without the password";
    const auto catalogue = shippedCatalogue();
    Database database(file(), symbols::kConnect);
    symbols::Recordset rows = database.query("select * from symbols");
    EXPECT_EQ(rows.fieldNames(), (QStringList{"security", "symbol", "exchange"}));
    const auto entries = [](const std::vector<CatalogueEntry>& list) {
        QStringList texts;
        for (const CatalogueEntry& entry : list)
            texts << entry.exchange + '|' + entry.symbol + '|' + entry.security;
        texts.sort();
        return texts;
    };
    EXPECT_GE(catalogue.size(), 400u);
    EXPECT_EQ(entries(symbols::readEntries(rows)), entries(catalogue));
    EXPECT_EQ(database.openTable("sys").recordCount(), 0);
    symbols::Recordset settings = database.openTable("settings");
    ASSERT_EQ(settings.recordCount(), 1);
    EXPECT_EQ(settings.field("s1").toString() + settings.field("s2").toString(), "01");
}

// The password is the text after "pwd=" up to the next semicolon; a wrong, empty or missing one fails at open.
TEST_F(SymbolsTest, PasswordComesFromTheConnectTextAndAWrongOneFailsAtOpen)
{
    QStringList passwords;
    for (const QString& connect : QStringList({symbols::kConnect, "ODBC;PWD=abc;uid=x", ";pwd=", ";uid=pwd"}))
        passwords << symbols::passwordFromConnect(connect);
    EXPECT_EQ(passwords, QStringList({"307HARBOR307", "abc", "", ""}));
    EXPECT_EQ(openError(file(), symbols::kConnect), QString());
    EXPECT_EQ(openError(file(), ";pwd=307harbor307"), "file is encrypted or is not a database");
    EXPECT_FALSE(openError(file(), ";pwd=").isEmpty());
    EXPECT_FALSE(openError(file(), QString()).isEmpty());
}

TEST_F(SymbolsTest, SysIsRewrittenInOrderWithTrimmedEntriesAndCanBeEmptied)
{
    symbols::writeSys(context, {"  /data/us ", "/data/india", "/data/us"});
    EXPECT_EQ(symbols::readSys(context), (QStringList{"/data/us", "/data/india", "/data/us"}));
    symbols::writeSys(context, {"/data/uk"});
    EXPECT_EQ(symbols::readSys(context), QStringList{"/data/uk"});
    symbols::writeSys(context, {});
    EXPECT_TRUE(symbols::readSys(context).isEmpty());
}

// Reading and writing the options is covered by the settings and start-up tests of the app; without its
// row the settings table is not repaired, and the caller gets the failure.
TEST_F(SymbolsTest, MisusedRecordsetsAndAMissingSettingsRowFailWithAClearError)
{
    Database database(file(), symbols::kConnect);
    symbols::Recordset settings = database.openTable(symbols::sql::kSettingsTable);
    EXPECT_THROW(settings.update(), DatabaseError) << "update without addNew or edit";
    EXPECT_THROW(settings.field("s3"), DatabaseError);
    symbols::Recordset rows = database.query(symbols::sql::kAddNew);
    EXPECT_THROW(rows.edit(), DatabaseError) << "a query knows no row to edit";
    database.close();
    EXPECT_THROW(settings.addNew(), DatabaseError) << "the database is closed";

    run({"delete from settings"});
    EXPECT_THROW(symbols::writeOptions(context, {0, 1}), DatabaseError);
    EXPECT_THROW(symbols::readOptions(context), DatabaseError);
    EXPECT_EQ(Database(file(), symbols::kConnect).openTable("settings").recordCount(), 0);
}

// Each fault names its line.
TEST(CatalogueTest, ParseErrorsNameTheLineAndTheFault)
{
    QStringList errors;
    for (const char* text : {"# c\nIBM | IBM",
                             "[NYSE]\nIBM IBM",
                             "[NYSE]\nBRK B | Berkshire",
                             "[NYSE]\nIBM | A\n\n[NYSE]\nIBM | B\nIBM | C"}) {
        try {
            symbols::parseCatalogue(QString::fromUtf8(text));
            errors << "accepted";
        } catch (const symbols::CatalogueError& error) {
            errors << error.what();
        }
    }
    EXPECT_EQ(errors,
              QStringList({"line 2: a security comes before the first [Exchange name] heading",
                           "line 2: expected \"SYMBOL | Security name\"",
                           "line 2: the symbol \"BRK B\" holds a blank",
                           "line 5: IBM is listed twice under NYSE"}));
}

} // namespace
