#include "catalogue.h"

#include <QFileInfo>
#include <QSet>

namespace symbols {

namespace {

[[noreturn]] void fail(qsizetype line, const QString& what)
{
    throw CatalogueError(QStringLiteral("line %1: %2").arg(line).arg(what).toStdString());
}

} // namespace

std::vector<CatalogueEntry> parseCatalogue(const QString& text)
{
    std::vector<CatalogueEntry> entries;
    QString exchange;
    QSet<QString> listed; // exchange and symbol of every entry so far
    const QStringList lines = text.split(u'\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const qsizetype number = i + 1;
        const QString line = lines[i].trimmed();
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        if (line.startsWith(u'[')) {
            if (!line.endsWith(u']') || line.size() < 3)
                fail(number, QStringLiteral("an exchange heading is written as [Exchange name]"));
            exchange = line.mid(1, line.size() - 2).trimmed();
            continue;
        }
        if (exchange.isEmpty())
            fail(number, QStringLiteral("a security comes before the first [Exchange name] heading"));
        const QStringList fields = line.split(u'|');
        if (fields.size() != 2)
            fail(number, QStringLiteral("expected \"SYMBOL | Security name\""));
        const QString symbol = fields[0].trimmed();
        const QString security = fields[1].trimmed();
        if (symbol.isEmpty() || security.isEmpty())
            fail(number, QStringLiteral("the symbol and the name must both be given"));
        if (symbol.contains(u' ') || symbol.contains(u'\t'))
            fail(number, QStringLiteral("the symbol \"%1\" holds a blank").arg(symbol));
        const QString key = exchange + u'\n' + symbol;
        if (listed.contains(key))
            fail(number, QStringLiteral("%1 is listed twice under %2").arg(symbol, exchange));
        listed.insert(key);
        entries.push_back({security, symbol, exchange});
    }
    return entries;
}

void createDatabase(const QString& fileName, const QString& connect, const std::vector<CatalogueEntry>& entries)
{
    if (QFileInfo::exists(fileName))
        throw DatabaseError(QStringLiteral("%1 exists already.").arg(fileName));
    Database database(fileName, connect, Database::Mode::Create);
    database.execute(QStringLiteral("begin"));
    database.execute(QStringLiteral("create table symbols (security text collate nocase, symbol text collate nocase, "
                                    "exchange text collate nocase)"));
    database.execute(QStringLiteral("create table sys (folder text collate nocase)"));
    database.execute(QStringLiteral("create table settings (s1 smallint, s2 smallint)"));
    database.execute(QStringLiteral("insert into settings (s1, s2) values (0, 1)"));
    Recordset rows = database.openTable(QStringLiteral("symbols"));
    for (const CatalogueEntry& entry : entries) {
        rows.addNew();
        rows.setField(0, entry.security);
        rows.setField(1, entry.symbol);
        rows.setField(2, entry.exchange);
        rows.update();
    }
    database.execute(QStringLiteral("commit"));
}

} // namespace symbols
