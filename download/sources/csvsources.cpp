// The providers that answer a daily history as CSV: Stooq, Alpha Vantage, Tiingo and EODHD. Each
// answers its errors with status 200 and a body of its own (a line of text, a JSON object, a web
// page), so every reply is recognised by its body first and by its status only after that.

#include "profiles.h"
#include "replyreading.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>
#include <QUrl>

namespace download::sources {

namespace {

using std::chrono::milliseconds;

QString isoDate(QDate date)
{
    return date.toString(Qt::ISODate);
}

QString encoded(const QString& text)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(text));
}

// Why a reply that is neither data nor a known error does not read.
QString unreadable(const QuoteSource& source, const SourceReply& reply)
{
    if (reply.status == 0)
        return reply.error;
    if (reply.status == 429)
        return RateLimited + QStringLiteral(": ") + providerSaid(source, reply.text());
    if (!reply.ok)
        return reply.text().trimmed().isEmpty() ? reply.error : providerSaid(source, reply.text());
    return QStringLiteral("%1 sent a reply that is not a price table: %2")
        .arg(source.title(), reply.text().simplified().left(80));
}

bool startsWith(const QString& body, const char* text)
{
    return body.trimmed().startsWith(QLatin1String(text), Qt::CaseInsensitive);
}

// The base of the CSV profiles: the history in one table named by its header.
class CsvSource : public QuoteSource
{
public:
    std::optional<QString> providerSymbol(const QString& symbol) const override
    {
        return mappedSymbol(symbol, column());
    }

    QString quoteRequest(const QString&, const QString&) const override { return {}; }

    QuoteParse parseQuote(const SourceReply&, const QLocale&) const override
    {
        return quoteFailure(QStringLiteral("%1 has no current quote here.").arg(title()));
    }

    HistoryParse parseHistory(const SourceReply& reply) const override
    {
        if (reply.status != 0) {
            if (const QString said = knownAnswer(reply.text()); !said.isEmpty())
                return historyFailure(said);
        }
        const CsvTable table = readCsv(trimmedBody(reply.text()));
        if (!reply.ok || !table.columns.contains(dateColumn()))
            return historyFailure(unreadable(*this, reply));
        HistoryParse parse = csvHistory(table,
                                        dateColumn(),
                                        QStringLiteral("open"),
                                        QStringLiteral("high"),
                                        QStringLiteral("low"),
                                        QStringLiteral("close"),
                                        QStringLiteral("volume"));
        if (parse.ok && parse.rows.isEmpty())
            return historyFailure(QStringLiteral("%1 has no bars in the dates asked for.").arg(title()));
        return parse;
    }

protected:
    virtual MarketColumn column() const = 0;

    virtual QString dateColumn() const { return QStringLiteral("date"); }

    // What the provider said when the body is one of its error answers; empty for anything else.
    virtual QString knownAnswer(const QString& body) const = 0;

    // The body without what the provider adds after the table.
    virtual QString trimmedBody(const QString& body) const { return body; }
};

// Stooq: daily CSV, oldest first, some instruments without a volume column. Since 2026 it wants a key
// (got once through a captcha on its site) and may answer a program with a JavaScript check page.
// No recorded reply of it was at hand: the profile follows the provider's documented answers, and the
// tests serve replies written after them.
class Stooq : public CsvSource
{
public:
    QString name() const override { return QStringLiteral("stooq"); }

    QString title() const override { return QStringLiteral("Stooq"); }

    QString defaultAddress() const override { return QStringLiteral("https://stooq.com"); }

    bool needsKey() const override { return true; }

    milliseconds minimumInterval() const override { return milliseconds(1000); }

    std::optional<QString> providerSymbol(const QString& symbol) const override
    {
        const std::optional<QString> mapped = CsvSource::providerSymbol(symbol);
        return mapped ? std::optional<QString>(mapped->toLower()) : std::nullopt;
    }

    QString historyRequest(const QString& symbol, QDate first, QDate last, const QString& key) const override
    {
        QString request = QStringLiteral("/q/d/l/?s=%1&i=d&d1=%2&d2=%3")
                              .arg(encoded(symbol),
                                   first.toString(QStringLiteral("yyyyMMdd")),
                                   last.toString(QStringLiteral("yyyyMMdd")));
        if (!key.isEmpty())
            request += QStringLiteral("&apikey=") + encoded(key);
        return request;
    }

protected:
    MarketColumn column() const override { return MarketColumn::Stooq; }

    QString knownAnswer(const QString& body) const override
    {
        const QString text = body.trimmed();
        if (startsWith(text, "Get your apikey"))
            return QStringLiteral("%1 wants an API key: get one on its site and enter it in Settings. (%2)")
                .arg(title(), text.simplified().left(120));
        if (text.startsWith(QLatin1Char('<')))
            return QStringLiteral("%1 answered with a check page for web browsers instead of data; try again "
                                  "later or choose another source.")
                .arg(title());
        if (startsWith(text, "Daily request quota exceeded"))
            return RateLimited + QStringLiteral(": ") + providerSaid(*this, text);
        if (startsWith(text, "No data") || startsWith(text, "Access denied"))
            return providerSaid(*this, text);
        return {};
    }
};

// Alpha Vantage: TIME_SERIES_DAILY has no date range; compact is the latest 100 days, full the whole
// history, newest first. Errors and limits come as JSON with status 200, even for a CSV request.
class AlphaVantage : public CsvSource
{
public:
    QString name() const override { return QStringLiteral("alphavantage"); }

    QString title() const override { return QStringLiteral("Alpha Vantage"); }

    QString defaultAddress() const override { return QStringLiteral("https://www.alphavantage.co"); }

    bool needsKey() const override { return true; }

    milliseconds minimumInterval() const override { return milliseconds(1200); }

    QString historyRequest(const QString& symbol, QDate first, QDate, const QString& key) const override
    {
        // The compact reply covers about 140 calendar days; further back needs the full one.
        const bool compact = first >= QDate::currentDate().addDays(-130);
        return QStringLiteral("/query?function=TIME_SERIES_DAILY&symbol=%1&outputsize=%2&datatype=csv&apikey=%3")
            .arg(encoded(symbol), compact ? QStringLiteral("compact") : QStringLiteral("full"), encoded(key));
    }

    QString quoteRequest(const QString& symbol, const QString& key) const override
    {
        return QStringLiteral("/query?function=GLOBAL_QUOTE&symbol=%1&datatype=csv&apikey=%2")
            .arg(encoded(symbol), encoded(key));
    }

    HistoryParse parseHistory(const SourceReply& reply) const override
    {
        const QJsonObject json = QJsonDocument::fromJson(reply.body).object();
        for (auto it = json.begin(); it != json.end(); ++it) {
            if (it.key().startsWith(QLatin1String("Time Series")))
                return jsonHistory(json, it.value().toObject());
        }
        return CsvSource::parseHistory(reply);
    }

    QuoteParse parseQuote(const SourceReply& reply, const QLocale& locale) const override
    {
        if (const QString said = knownAnswer(reply.text()); !said.isEmpty())
            return quoteFailure(said);
        // CSV: symbol,open,high,low,price,volume,latestDay,previousClose,change,changePercent; the JSON
        // form names the same fields "01. symbol" ... "10. change percent".
        QHash<QString, QString> fields;
        const QJsonObject json = QJsonDocument::fromJson(reply.body).object();
        const QJsonObject global = json.value(QLatin1String("Global Quote")).toObject();
        for (auto it = global.begin(); it != global.end(); ++it)
            fields.insert(it.key().mid(4).remove(QLatin1Char(' ')).toLower(), it.value().toString());
        const CsvTable table = readCsv(reply.text());
        if (global.isEmpty() && table.rows.size() == 1) {
            for (auto it = table.columns.begin(); it != table.columns.end(); ++it)
                fields.insert(it.key(), table.rows.first().value(it.value()).trimmed());
        }
        const auto value = [&fields](const char* csvName, const char* jsonName) {
            return fields.value(QLatin1String(csvName), fields.value(QLatin1String(jsonName)));
        };
        QuoteNumbers numbers;
        numbers.symbol = value("symbol", "symbol");
        numbers.price = replyNumber(value("price", "price"));
        if (!reply.ok || numbers.symbol.isEmpty() || !numbers.price)
            return quoteFailure(unreadable(*this, reply));
        numbers.open = replyNumber(value("open", "open"));
        numbers.high = replyNumber(value("high", "high"));
        numbers.low = replyNumber(value("low", "low"));
        numbers.volume = replyVolume(value("volume", "volume"));
        numbers.change = replyNumber(value("change", "change"));
        numbers.changePercent = replyNumber(value("changepercent", "changepercent").remove(QLatin1Char('%')));
        // The latest trading day has no time; the close of the exchange stands for it.
        const QDate day = QDate::fromString(value("latestday", "latesttradingday"), Qt::ISODate);
        if (day.isValid())
            numbers.time = QDateTime(day, QTime(16, 0), QTimeZone("America/New_York"));
        QuoteParse parse;
        parse.symbol = numbers.symbol;
        parse.values = quoteValues(numbers, locale);
        return parse;
    }

protected:
    MarketColumn column() const override { return MarketColumn::AlphaVantage; }

    QString dateColumn() const override { return QStringLiteral("timestamp"); }

    QString knownAnswer(const QString& body) const override
    {
        const QJsonObject json = QJsonDocument::fromJson(body.toUtf8()).object();
        for (const char* key : {"Error Message", "Information", "Note"}) {
            const QString text = json.value(QLatin1String(key)).toString();
            if (text.isEmpty())
                continue;
            if (text.contains(QLatin1String("rate limit")) || text.contains(QLatin1String("call frequency")))
                return RateLimited + QStringLiteral(": ") + providerSaid(*this, text);
            return providerSaid(*this, text);
        }
        return {};
    }

private:
    // {"Meta Data": {"2. Symbol": ...}, "Time Series (Daily)": {"yyyy-MM-dd": {"1. open": "..."}}}
    HistoryParse jsonHistory(const QJsonObject& json, const QJsonObject& series) const
    {
        CsvTable table;
        const QStringList columns = {QStringLiteral("timestamp"),
                                     QStringLiteral("open"),
                                     QStringLiteral("high"),
                                     QStringLiteral("low"),
                                     QStringLiteral("close"),
                                     QStringLiteral("volume")};
        for (qsizetype i = 0; i < columns.size(); ++i)
            table.columns.insert(columns[i], i);
        for (auto it = series.begin(); it != series.end(); ++it) {
            const QJsonObject bar = it.value().toObject();
            QStringList row = {it.key()};
            for (const char* key : {"1. open", "2. high", "3. low", "4. close", "5. volume"})
                row.append(bar.value(QLatin1String(key)).toString());
            table.rows.append(row);
        }
        HistoryParse parse = csvHistory(table, columns[0], columns[1], columns[2], columns[3], columns[4], columns[5]);
        parse.symbol = json.value(QLatin1String("Meta Data")).toObject().value(QLatin1String("2. Symbol")).toString();
        return parse;
    }
};

// Tiingo: daily prices of United States securities, CSV (its columns ordered close, high, low, open),
// the key in the query. Unknown tickers come as {"detail": ...} (JSON) or "Error: ..." (CSV).
class Tiingo : public CsvSource
{
public:
    QString name() const override { return QStringLiteral("tiingo"); }

    QString title() const override { return QStringLiteral("Tiingo"); }

    QString defaultAddress() const override { return QStringLiteral("https://api.tiingo.com"); }

    bool needsKey() const override { return true; }

    milliseconds minimumInterval() const override { return milliseconds(250); }

    QString historyRequest(const QString& symbol, QDate first, QDate last, const QString& key) const override
    {
        return QStringLiteral("/tiingo/daily/%1/prices?startDate=%2&endDate=%3&format=csv&resampleFreq=daily&token=%4")
            .arg(encoded(symbol), isoDate(first), isoDate(last), encoded(key));
    }

    // The latest bar, asked without a start date, stands for the current quote.
    QString quoteRequest(const QString& symbol, const QString& key) const override
    {
        return QStringLiteral("/tiingo/daily/%1/prices?format=json&token=%2").arg(encoded(symbol), encoded(key));
    }

    HistoryParse parseHistory(const SourceReply& reply) const override
    {
        const QJsonDocument json = QJsonDocument::fromJson(reply.body);
        if (!json.isArray())
            return CsvSource::parseHistory(reply);
        if (!reply.ok)
            return historyFailure(unreadable(*this, reply));
        return csvHistory(jsonTable(json.array()),
                          QStringLiteral("date"),
                          QStringLiteral("open"),
                          QStringLiteral("high"),
                          QStringLiteral("low"),
                          QStringLiteral("close"),
                          QStringLiteral("volume"));
    }

    QuoteParse parseQuote(const SourceReply& reply, const QLocale& locale) const override
    {
        if (const QString said = knownAnswer(reply.text()); !said.isEmpty())
            return quoteFailure(said);
        const HistoryParse latest = parseHistory(reply);
        if (!latest.ok || latest.rows.isEmpty())
            return quoteFailure(latest.ok ? unreadable(*this, reply) : latest.reason);
        const DailyQuoteRecord& bar = latest.rows.first();
        QuoteNumbers numbers;
        numbers.price = bar.close;
        numbers.open = bar.open;
        numbers.high = bar.high;
        numbers.low = bar.low;
        numbers.volume = bar.volume;
        numbers.time = QDateTime(QDate::fromString(bar.date, Qt::ISODate), QTime(16, 0), QTimeZone("America/New_York"));
        QuoteParse parse;
        parse.values = quoteValues(numbers, locale);
        return parse;
    }

protected:
    MarketColumn column() const override { return MarketColumn::Tiingo; }

    QString knownAnswer(const QString& body) const override
    {
        QString text = QJsonDocument::fromJson(body.toUtf8()).object().value(QLatin1String("detail")).toString();
        if (text.isEmpty() && startsWith(body, "Error:"))
            text = body.trimmed();
        if (text.isEmpty())
            return {};
        if (text.contains(QLatin1String("request allocation")))
            return RateLimited + QStringLiteral(": ") + providerSaid(*this, text);
        return providerSaid(*this, text);
    }

private:
    // A JSON array of bars as a table: its raw (not adjusted) prices.
    static CsvTable jsonTable(const QJsonArray& bars)
    {
        CsvTable table;
        const char* const keys[] = {"date", "open", "high", "low", "close", "volume"};
        for (int i = 0; i < 6; ++i)
            table.columns.insert(QLatin1String(keys[i]), i);
        for (const QJsonValue& bar : bars) {
            QStringList row;
            for (const char* key : keys) {
                const QJsonValue value = bar.toObject().value(QLatin1String(key));
                row.append(value.isDouble() ? QString::number(value.toDouble(), 'g', 17) : value.toString());
            }
            table.rows.append(row);
        }
        return table;
    }
};

// EODHD: end-of-day CSV, oldest first, every symbol with its exchange. Older replies end with a line
// holding the byte count of the text before it.
class Eodhd : public CsvSource
{
public:
    QString name() const override { return QStringLiteral("eodhd"); }

    QString title() const override { return QStringLiteral("EODHD"); }

    QString defaultAddress() const override { return QStringLiteral("https://eodhd.com"); }

    bool needsKey() const override { return true; }

    milliseconds minimumInterval() const override { return milliseconds(100); }

    QString historyRequest(const QString& symbol, QDate first, QDate last, const QString& key) const override
    {
        return QStringLiteral("/api/eod/%1?api_token=%2&fmt=csv&period=d&from=%3&to=%4")
            .arg(encoded(symbol), encoded(key), isoDate(first), isoDate(last));
    }

protected:
    MarketColumn column() const override { return MarketColumn::Eodhd; }

    QString knownAnswer(const QString& body) const override
    {
        // Other errors (an unknown symbol, a rate limit) are not on record: the reply is shown as it is.
        const QString text = body.trimmed();
        if (startsWith(text, "Unauthenticated"))
            return QStringLiteral("%1 refused the API key (\"%2\"): check it in Settings.")
                .arg(title(), text.simplified().left(40));
        return {};
    }

    QString trimmedBody(const QString& body) const override
    {
        const QString text = body.trimmed();
        const qsizetype lastLine = text.lastIndexOf(QLatin1Char('\n'));
        bool count = false;
        (void)text.mid(lastLine + 1).trimmed().toLongLong(&count);
        return count && lastLine > 0 ? text.left(lastLine) : text;
    }
};

} // namespace

const QuoteSource& stooqSource()
{
    static const Stooq source;
    return source;
}

const QuoteSource& alphaVantageSource()
{
    static const AlphaVantage source;
    return source;
}

const QuoteSource& tiingoSource()
{
    static const Tiingo source;
    return source;
}

const QuoteSource& eodhdSource()
{
    static const Eodhd source;
    return source;
}

} // namespace download::sources
