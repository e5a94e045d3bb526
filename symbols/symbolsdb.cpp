#include "symbolsdb.h"

#include "context/appcontext.h"

namespace symbols {

QString sql::lookupExchange(const QString& exchange)
{
    return QStringLiteral("select * from symbols  where exchange='") + exchange + QStringLiteral("' order by security");
}

QString databaseFile(const context::AppContext& context)
{
    return context.dataFile(kDatabaseFileName);
}

std::unique_ptr<Database> openDatabase(const context::AppContext& context)
{
    return std::make_unique<Database>(databaseFile(context), kConnect);
}

std::vector<CatalogueEntry> readEntries(Recordset& rows)
{
    std::vector<CatalogueEntry> entries;
    for (; !rows.eof(); rows.moveNext())
        entries.push_back({rows.text(0), rows.text(1), rows.text(2)});
    return entries;
}

QStringList exchangeChanges(const std::vector<CatalogueEntry>& entries)
{
    QStringList exchanges;
    for (size_t i = 0; i < entries.size(); ++i) {
        if (i == 0 || entries[i].exchange != entries[i - 1].exchange)
            exchanges.append(entries[i].exchange);
    }
    return exchanges;
}

Options readOptions(const context::AppContext& context)
{
    const auto database = openDatabase(context);
    Recordset settings = database->openTable(sql::kSettingsTable);
    return {qint16(settings.field(QStringLiteral("s1")).toInt()), qint16(settings.field(QStringLiteral("s2")).toInt())};
}

void writeOptions(const context::AppContext& context, const Options& options)
{
    const auto database = openDatabase(context);
    Recordset settings = database->openTable(sql::kSettingsTable);
    settings.edit();
    settings.setField(QStringLiteral("s1"), options.s1);
    settings.setField(QStringLiteral("s2"), options.s2);
    settings.update();
}

QStringList readSys(const context::AppContext& context)
{
    const auto database = openDatabase(context);
    Recordset sys = database->openTable(sql::kSysTable);
    QStringList entries;
    for (; !sys.eof(); sys.moveNext())
        entries.append(sys.text(0));
    return entries;
}

void writeSys(const context::AppContext& context, const QStringList& entries)
{
    const auto database = openDatabase(context);
    database->execute(sql::kForgetSys);
    Recordset sys = database->openTable(sql::kSysTable);
    for (const QString& entry : entries) {
        sys.addNew();
        sys.setField(0, entry.trimmed());
        sys.update();
    }
}

} // namespace symbols
