// Yahoo Finance, chart API v8: JSON, no key. One reply carries the bars and, in its "meta", the
// current quote. Timestamps are the start of each session; they become dates in the exchange's own
// time zone (meta.exchangeTimezoneName), never UTC or the user's zone, so that a Sydney or Tokyo bar
// keeps its trading day. meta.gmtoffset is the offset at the time of the request, wrong for bars on
// the other side of a daylight-saving change; it serves only when the zone's name is missing.

#include "profiles.h"
#include "replyreading.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

namespace download::sources {

namespace {

std::optional<double> jsonNumber(const QJsonValue& value)
{
    if (!value.isDouble())
        return std::nullopt;
    return replyNumber(QString::number(value.toDouble(), 'g', 17));
}

std::optional<qint64> jsonVolume(const QJsonValue& value)
{
    if (!value.isDouble())
        return std::nullopt;
    return replyVolume(QString::number(value.toDouble(), 'f', 0));
}

// The exchange's zone from a chart meta or a v7 quote.
QTimeZone exchangeZone(const QJsonObject& object)
{
    const QTimeZone named(object.value(QLatin1String("exchangeTimezoneName")).toString().toLatin1());
    if (named.isValid())
        return named;
    const QJsonValue offset = object.value(QLatin1String("gmtoffset"));
    if (offset.isDouble() && std::abs(offset.toDouble()) <= 14 * 3600)
        return QTimeZone(int(offset.toDouble()));
    return {};
}

QDateTime exchangeTime(const QJsonValue& seconds, const QTimeZone& zone)
{
    if (!seconds.isDouble() || !zone.isValid())
        return {};
    const double value = seconds.toDouble();
    // Beyond a few thousand years QDateTime cannot hold the time; no bar lies there.
    if (!(value > -6.0e10 && value < 2.5e11))
        return {};
    return QDateTime::fromSecsSinceEpoch(qint64(value), zone);
}

class Yahoo : public QuoteSource
{
public:
    QString name() const override { return QStringLiteral("yahoo"); }

    QString title() const override { return QStringLiteral("Yahoo Finance"); }

    QString defaultAddress() const override { return QStringLiteral("https://query2.finance.yahoo.com"); }

    bool needsKey() const override { return false; }

    std::chrono::milliseconds minimumInterval() const override { return std::chrono::milliseconds(500); }

    // The catalogue writes Yahoo's own forms.
    std::optional<QString> providerSymbol(const QString& symbol) const override { return symbol.trimmed(); }

    QString historyRequest(const QString& symbol, QDate first, QDate last, const QString&) const override
    {
        // A day more on each side in UTC covers every zone; the dates in the exchange's zone are then
        // cut to those asked.
        const qint64 from = first.addDays(-1).startOfDay(QTimeZone::utc()).toSecsSinceEpoch();
        const qint64 to = last.addDays(2).startOfDay(QTimeZone::utc()).toSecsSinceEpoch();
        return QStringLiteral("/v8/finance/chart/%1?period1=%2&period2=%3&interval=1d").arg(symbol).arg(from).arg(to);
    }

    QString quoteRequest(const QString& symbol, const QString&) const override
    {
        return QStringLiteral("/v8/finance/chart/%1?range=1d&interval=1d").arg(symbol);
    }

    HistoryParse parseHistory(const SourceReply& reply) const override
    {
        QJsonObject result;
        if (const QString problem = chartResult(reply, result); !problem.isEmpty())
            return historyFailure(problem);
        const QJsonObject meta = result.value(QLatin1String("meta")).toObject();
        HistoryParse parse = bars(result, exchangeZone(meta));
        parse.symbol = meta.value(QLatin1String("symbol")).toString();
        return parse;
    }

    QuoteParse parseQuote(const SourceReply& reply, const QLocale& locale) const override
    {
        const QJsonObject root = QJsonDocument::fromJson(reply.body).object();
        // The v7 quote endpoint (it wants a cookie and a crumb, so it is not asked) has the same fields.
        const QJsonArray quotes =
            root.value(QLatin1String("quoteResponse")).toObject().value(QLatin1String("result")).toArray();
        if (!quotes.isEmpty() && quotes.first().isObject())
            return quote(quotes.first().toObject(), {}, locale);
        QJsonObject result;
        if (const QString problem = chartResult(reply, result); !problem.isEmpty())
            return quoteFailure(problem);
        const QJsonObject meta = result.value(QLatin1String("meta")).toObject();
        return quote(meta, bars(result, exchangeZone(meta)), locale);
    }

private:
    // The chart's one result, or what the reply says instead.
    QString chartResult(const SourceReply& reply, QJsonObject& result) const
    {
        if (reply.status == 0)
            return reply.error;
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(reply.body, &error);
        const QJsonObject chart = document.object().value(QLatin1String("chart")).toObject();
        const QJsonObject problem = chart.value(QLatin1String("error")).toObject();
        if (!problem.isEmpty()) {
            const QString description = problem.value(QLatin1String("description")).toString();
            return providerSaid(*this,
                                description.isEmpty() ? problem.value(QLatin1String("code")).toString() : description);
        }
        const QJsonArray results = chart.value(QLatin1String("result")).toArray();
        if (results.size() == 1 && results.first().isObject()) {
            result = results.first().toObject();
            return {};
        }
        if (reply.status == 429)
            return RateLimited + QStringLiteral(": ") + providerSaid(*this, reply.text());
        if (!reply.ok)
            return reply.error;
        return QStringLiteral("%1 sent a reply that is not a chart.").arg(title());
    }

    // The rows of a chart result. The arrays run in parallel with the timestamps; a row of nulls is a
    // day without trading and left out.
    HistoryParse bars(const QJsonObject& result, const QTimeZone& zone) const
    {
        const QJsonObject indicators = result.value(QLatin1String("indicators")).toObject();
        const QJsonArray quotes = indicators.value(QLatin1String("quote")).toArray();
        if (quotes.size() > 1)
            return historyFailure(
                QStringLiteral("%1 sent %2 price series instead of one.").arg(title()).arg(quotes.size()));
        const QJsonObject series = quotes.first().toObject();
        const QJsonValue timestamps = result.value(QLatin1String("timestamp"));
        if (timestamps.isUndefined()) {
            if (!series.isEmpty())
                return historyFailure(QStringLiteral("%1 sent prices without their dates.").arg(title()));
            return historyFailure(QStringLiteral("%1 has no bars in the dates asked for.").arg(title()));
        }
        if (!zone.isValid())
            return historyFailure(QStringLiteral("%1 did not say the exchange's time zone.").arg(title()));
        const QJsonArray times = timestamps.toArray();
        const char* const names[] = {"open", "high", "low", "close", "volume"};
        QJsonArray columns[5];
        for (int c = 0; c < 5; ++c) {
            columns[c] = series.value(QLatin1String(names[c])).toArray();
            if (columns[c].size() != times.size())
                return historyFailure(QStringLiteral("%1 sent %2 %3 values for %4 dates.")
                                          .arg(title())
                                          .arg(columns[c].size())
                                          .arg(QLatin1String(names[c]))
                                          .arg(times.size()));
        }
        HistoryParse parse;
        for (qsizetype i = 0; i < times.size(); ++i) {
            const QDateTime time = exchangeTime(times[i], zone);
            if (!time.isValid())
                return historyFailure(
                    QStringLiteral("%1 sent a date that is not a time: %2.")
                        .arg(title(),
                             QString::fromUtf8(QJsonDocument(QJsonArray{times[i]}).toJson(QJsonDocument::Compact))));
            std::optional<double> prices[4];
            bool anyPrice = false;
            for (int c = 0; c < 4; ++c) {
                prices[c] = jsonNumber(columns[c][i]);
                anyPrice = anyPrice || !columns[c][i].isNull();
            }
            if (!anyPrice)
                continue;
            const std::optional<qint64> volume = columns[4][i].isNull() ? 0 : jsonVolume(columns[4][i]);
            if (!prices[0] || !prices[1] || !prices[2] || !prices[3] || !volume)
                return historyFailure(QStringLiteral("%1 sent a bar of %2 with a value that is not a number.")
                                          .arg(title(), time.date().toString(Qt::ISODate)));
            parse.rows.append(
                {time.date().toString(Qt::ISODate), *prices[0], *prices[1], *prices[2], *prices[3], *volume});
        }
        if (parse.rows.isEmpty())
            return historyFailure(QStringLiteral("%1 has no bars in the dates asked for.").arg(title()));
        parse.ok = true;
        return finishedHistory(std::move(parse));
    }

    // A quote from a chart's meta (with its bars, which hold the day's opening) or a v7 quote.
    QuoteParse quote(const QJsonObject& fields, const HistoryParse& history, const QLocale& locale) const
    {
        const auto number = [&fields](const char* key) { return jsonNumber(fields.value(QLatin1String(key))); };
        QuoteNumbers numbers;
        numbers.symbol = fields.value(QLatin1String("symbol")).toString();
        numbers.price = number("regularMarketPrice");
        if (!numbers.price)
            return quoteFailure(QStringLiteral("%1 sent no current price.").arg(title()));
        numbers.time = exchangeTime(fields.value(QLatin1String("regularMarketTime")), exchangeZone(fields));
        numbers.high = number("regularMarketDayHigh");
        numbers.low = number("regularMarketDayLow");
        numbers.open = number("regularMarketOpen");
        numbers.bid = number("bid");
        numbers.ask = number("ask");
        numbers.volume = jsonVolume(fields.value(QLatin1String("regularMarketVolume")));
        numbers.change = number("regularMarketChange");
        numbers.changePercent = number("regularMarketChangePercent");
        // The chart's meta has no opening or change: the day's bar and the previous close give them.
        if (!numbers.open && history.ok && numbers.time.isValid()
            && history.rows.first().date == numbers.time.date().toString(Qt::ISODate))
            numbers.open = history.rows.first().open;
        std::optional<double> previous = number("regularMarketPreviousClose");
        if (!previous)
            previous = number("previousClose");
        if (!previous)
            previous = number("chartPreviousClose");
        if (!numbers.change && previous) {
            numbers.change = *numbers.price - *previous;
            if (*previous != 0)
                numbers.changePercent = *numbers.change / *previous * 100;
        }
        QuoteParse parse;
        parse.symbol = numbers.symbol;
        parse.values = quoteValues(numbers, locale);
        return parse;
    }
};

} // namespace

const QuoteSource& yahooSource()
{
    static const Yahoo source;
    return source;
}

} // namespace download::sources
