#pragma once

// The symbol database "symbols.mdb" in the program folder: its name and password, every statement the
// program sends to it, and plain functions for the windows that keep options or the download folder list
// in it. No widgets here.
//
// The file ships with the program (the build makes it from the catalogue in data/); nothing here creates
// the file or its tables. Each function opens the database, does its work and closes it again.

#include "database.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

namespace context {
struct AppContext;
}

namespace symbols {

inline const QString kDatabaseFileName = QStringLiteral("symbols.mdb");
inline const QString kConnect = QStringLiteral(";pwd=307HARBOR307");

// The statements, exactly as sent; the blanks are part of them.
namespace sql {
inline const QString kLookupLoad = QStringLiteral("select * from symbols order by exchange,security");
inline const QString kLookupAll = QStringLiteral("select * from symbols order by exchange,security ");
inline const QString kAddNew = QStringLiteral("select * from symbols order by exchange");
inline const QString kForgetSys = QStringLiteral("delete from sys");
inline const QString kSysTable = QStringLiteral("sys");
inline const QString kSettingsTable = QStringLiteral("settings");
// The exchange goes in as it stands: a quote inside it breaks the statement and the engine says so.
QString lookupExchange(const QString& exchange);
} // namespace sql

// "symbols.mdb" in the context's data folder (the user's copy once installed, else the program folder).
QString databaseFile(const context::AppContext& context);

// Opens the program's symbol database with its password. Throws DatabaseError.
std::unique_ptr<Database> openDatabase(const context::AppContext& context);

// One row of table "symbols", columns by position: 0 security, 1 symbol, 2 exchange (null reads as "").
struct CatalogueEntry
{
    QString security;
    QString symbol;
    QString exchange;
};

// Reads the recordset's remaining rows.
std::vector<CatalogueEntry> readEntries(Recordset& rows);

// The exchange list of rows already ordered by exchange: an exchange is taken whenever it differs,
// exactly and case-sensitively, from the previous row's (the first row's always). When the database
// sorts two spellings of one exchange together and interleaves them, each change of spelling counts.
QStringList exchangeChanges(const std::vector<CatalogueEntry>& entries);

// The two options of the single row of table "settings".
struct Options
{
    qint16 s1 = 0; // 1: also download quotes dated Saturday and Sunday
    qint16 s2 = 0; // the "Threads" value
};

// Reads s1 and s2 by name from the first row of table "settings". Throws DatabaseError, also when the
// table has no row ("No current record.").
Options readOptions(const context::AppContext& context);

// Edits the first row of "settings": sets s1 and s2 and updates. The row must exist: it is never added.
// Throws DatabaseError.
void writeOptions(const context::AppContext& context, const Options& options);

// The saved download folder list: column 0 of every row of table "sys", in table order. Throws
// DatabaseError.
QStringList readSys(const context::AppContext& context);

// Rewrites the saved download folder list: "delete from sys", then one added row per entry, in order, with
// the entry trimmed. An empty list leaves the table empty. Throws DatabaseError.
void writeSys(const context::AppContext& context, const QStringList& entries);

} // namespace symbols
