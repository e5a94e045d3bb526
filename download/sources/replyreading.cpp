#include "replyreading.h"

#include <QDateTime>

#include <algorithm>
#include <cmath>
#include <limits>

namespace download::sources {

std::optional<double> replyNumber(const QString& text)
{
    bool ok = false;
    const double value = text.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<qint64> replyVolume(const QString& text)
{
    const std::optional<double> value = replyNumber(text);
    // Beyond 2^53 a double no longer holds every whole number; no real volume comes near.
    if (!value || *value < 0 || *value > 9.0e15)
        return std::nullopt;
    return qint64(std::nearbyint(*value));
}

std::optional<QString> CsvTable::field(const QStringList& row, const QString& column) const
{
    const auto found = columns.constFind(column);
    if (found == columns.constEnd())
        return std::nullopt;
    return row.value(*found).trimmed();
}

CsvTable readCsv(const QString& body)
{
    CsvTable table;
    bool header = true;
    for (QString line : body.split(QLatin1Char('\n'))) {
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        if (line.trimmed().isEmpty())
            continue;
        const QStringList fields = line.split(QLatin1Char(','));
        if (header) {
            for (qsizetype i = 0; i < fields.size(); ++i)
                table.columns.insert(fields[i].trimmed().toLower(), i);
            header = false;
        } else {
            table.rows.append(fields);
        }
    }
    return table;
}

namespace {

bool isNull(const QString& text)
{
    return text.isEmpty() || text.compare(QLatin1String("null"), Qt::CaseInsensitive) == 0;
}

} // namespace

HistoryParse csvHistory(const CsvTable& table,
                        const QString& date,
                        const QString& open,
                        const QString& high,
                        const QString& low,
                        const QString& close,
                        const QString& volume)
{
    for (const QString& column : {date, open, high, low, close}) {
        if (!table.columns.contains(column))
            return historyFailure(QStringLiteral("The reply has no \"%1\" column.").arg(column));
    }
    HistoryParse parse;
    for (qsizetype i = 0; i < table.rows.size(); ++i) {
        const QStringList& row = table.rows[i];
        const QString dateText = table.field(row, date).value_or(QString());
        const QDate day = QDate::fromString(dateText.left(10), Qt::ISODate);
        if (!day.isValid())
            return historyFailure(
                QStringLiteral("Row %1 of the reply: \"%2\" is not a date.").arg(i + 1).arg(dateText));
        const QString prices[4] = {*table.field(row, open),
                                   *table.field(row, high),
                                   *table.field(row, low),
                                   *table.field(row, close)};
        if (std::all_of(std::begin(prices), std::end(prices), isNull))
            continue;
        double values[4];
        for (int p = 0; p < 4; ++p) {
            const std::optional<double> value = replyNumber(prices[p]);
            if (!value)
                return historyFailure(
                    QStringLiteral("Row %1 of the reply: the price \"%2\" is not a number.").arg(i + 1).arg(prices[p]));
            values[p] = *value;
        }
        const QString volumeText = table.field(row, volume).value_or(QStringLiteral("0"));
        const std::optional<qint64> shares = replyVolume(isNull(volumeText) ? QStringLiteral("0") : volumeText);
        if (!shares)
            return historyFailure(
                QStringLiteral("Row %1 of the reply: the volume \"%2\" is not a number.").arg(i + 1).arg(volumeText));
        parse.rows.append({day.toString(Qt::ISODate), values[0], values[1], values[2], values[3], *shares});
    }
    parse.ok = true;
    return finishedHistory(std::move(parse));
}

HistoryParse finishedHistory(HistoryParse parse)
{
    std::sort(parse.rows.begin(), parse.rows.end(), [](const DailyQuoteRecord& a, const DailyQuoteRecord& b) {
        return a.date > b.date; // yyyy-MM-dd sorts as the dates do
    });
    for (qsizetype i = 1; i < parse.rows.size(); ++i) {
        if (parse.rows[i].date == parse.rows[i - 1].date)
            return historyFailure(QStringLiteral("The reply holds the date %1 twice.").arg(parse.rows[i].date));
    }
    return parse;
}

HistoryParse historyFailure(const QString& reason)
{
    HistoryParse parse;
    parse.reason = reason;
    return parse;
}

QuoteParse quoteFailure(const QString& reason)
{
    QuoteParse parse;
    parse.reason = reason;
    return parse;
}

QString providerSaid(const QuoteSource& source, const QString& text)
{
    QString said = text.simplified();
    if (said.size() > 200)
        said = said.left(200) + QStringLiteral("...");
    return QStringLiteral("%1 answered: %2").arg(source.title(), said);
}

StockQuoteValues quoteValues(const QuoteNumbers& numbers, const QLocale& locale)
{
    const auto text = [](const std::optional<double>& value) {
        return value ? QString::number(*value, 'f', 2) : QStringLiteral("N/A");
    };
    const auto price = [](const std::optional<double>& value) {
        return value ? QString::number(*value, 'g', QLocale::FloatingPointShortest) : QStringLiteral("N/A");
    };
    StockQuoteValues values;
    values[0] = numbers.symbol;
    values[1] = numbers.price ? price(numbers.price) : QStringLiteral("0.00");
    values[2] = numbers.time.isValid() ? numbers.time.toString(QStringLiteral("M/d/yyyy")) : QStringLiteral("N/A");
    values[3] =
        numbers.time.isValid() ? numbers.time.toString(QStringLiteral("h:mmap")).toLower() : QStringLiteral("N/A");
    values[4] = text(numbers.change);
    values[5] = numbers.changePercent ? text(numbers.changePercent) + QLatin1Char('%') : QStringLiteral("N/A");
    values[6] = price(numbers.open);
    values[7] = price(numbers.high);
    values[8] = price(numbers.low);
    values[9] = price(numbers.bid);
    values[10] = price(numbers.ask);
    if (numbers.volume) {
        // Grouped the locale's way, as the specified service's client writes it.
        QLocale grouped = locale;
        grouped.setNumberOptions(locale.numberOptions() & ~QLocale::OmitGroupSeparator);
        values[11] = grouped.toString(*numbers.volume);
    } else {
        values[11] = QStringLiteral("N/A");
    }
    return values;
}

} // namespace download::sources
