#include "selection.h"

#include "store/metastockreader.h"

namespace download {

namespace {

const QString IsoDate = QStringLiteral("yyyy-MM-dd");

} // namespace

QString dateText(QDate date)
{
    return date.toString(IsoDate);
}

QDate dateFromText(const QString& text)
{
    return QDate::fromString(text.trimmed(), IsoDate);
}

QDate dateFromBarDate(qint32 yyyymmdd)
{
    return QDate(yyyymmdd / 10000, yyyymmdd / 100 % 100, yyyymmdd % 100);
}

qint32 barDateOf(QDate date)
{
    return date.year() * 10000 + date.month() * 100 + date.day();
}

store::Status listSecurities(const QString& folder, QList<ListedSecurity>& securities)
{
    store::MetaStockReader reader;
    store::Status status = reader.OpenFolder(folder);
    qint32 more = 0;
    while (status.ok() && (status = reader.HasMoreSecurities(more)).ok() && more >= 1) {
        ListedSecurity security;
        if (!(status = reader.NextSecurity()).ok() || !(status = reader.GetName(security.name)).ok()
            || !(status = reader.GetSymbol(security.symbol)).ok()
            || !(status = reader.GetFirstDate(security.firstDate)).ok()
            || !(status = reader.GetLastDate(security.lastDate)).ok())
            break;
        securities.append(security);
    }
    // The reader holds nothing worth reporting at release: the listing's own status is what counts.
    (void)reader.Close();
    return status;
}

bool canDownload(qint32 lastDate)
{
    return dateFromBarDate(lastDate).isValid();
}

bool tickedByDefault(qint32 lastDate, QDate today)
{
    return canDownload(lastDate) && lastDate != barDateOf(today);
}

QDate startDate(QDate lastDate, QDate today)
{
    if (lastDate.month() < today.month() - 1)
        return lastDate;
    return lastDate.addDays(1);
}

std::optional<context::DownloadItem>
makeDownloadItem(const QString& symbol, qint32 firstDate, qint32 lastDate, const QString& folder, QDate today)
{
    const QDate last = dateFromBarDate(lastDate);
    if (!last.isValid())
        return std::nullopt;
    return context::DownloadItem{symbol.trimmed(),
                                 dateText(last.addDays(-35)),
                                 dateText(firstDate == lastDate ? last : startDate(last, today)),
                                 folder};
}

} // namespace download
