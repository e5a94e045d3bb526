#include "quotesource.h"

#include "download/clsdailyquotes.h"
#include "profiles.h"
#include "replyreading.h"

#include <QRegularExpression>
#include <QUrl>

namespace download::sources {

// Suffixes as the catalogue writes them (the symbol lookup's exchanges). Stooq writes lower case and
// a market code for every symbol; Tiingo serves the United States alone; EODHD always wants an exchange.
const QList<Market> MarketTable = {
    {"", "United States", ".us", "-", "-", ".US"},
    {".L", "London Stock Exchange", ".uk", ".LON", "", ".LSE"},
    {".DE", "XETRA", ".de", ".DEX", "", ".XETRA"},
    {".T", "Tokyo Stock Exchange", ".jp", "", "", ".TSE"},
    {".HK", "Hong Kong Stock Exchange", ".hk", "", "", ".HK"},
    {".AX", "Australian Securities Exchange", "", "", "", ".AU"},
    {".TO", "Toronto Stock Exchange", "", ".TRT", "", ".TO"},
    {".NS", "National Stock Exchange of India", "", "", "", ".NSE"},
    {".PA", "Euronext Paris", "", "", "", ".PA"},
    {".AS", "Euronext Amsterdam", "", "", "", ".AS"},
    {".SS", "Shanghai Stock Exchange", "", ".SHH", "", ".SHG"},
};

std::optional<QString> mappedSymbol(const QString& symbol, MarketColumn column)
{
    const QString trimmed = symbol.trimmed();
    if (trimmed.isEmpty() || trimmed.startsWith(QLatin1Char('^')))
        return std::nullopt;
    const qsizetype dot = trimmed.lastIndexOf(QLatin1Char('.'));
    const QString suffix = dot > 0 ? trimmed.mid(dot).toUpper() : QString();
    for (const Market& market : MarketTable) {
        if (suffix != QLatin1String(market.suffix))
            continue;
        const char* form = column == MarketColumn::Stooq ? market.stooq
            : column == MarketColumn::AlphaVantage       ? market.alphavantage
            : column == MarketColumn::Tiingo             ? market.tiingo
                                                         : market.eodhd;
        if (*form == '\0')
            return std::nullopt;
        const QString bare = trimmed.left(trimmed.size() - suffix.size());
        return qstrcmp(form, "-") == 0 ? bare : bare + QLatin1String(form);
    }
    return std::nullopt;
}

QString maskKey(QString text, const QString& key)
{
    if (key.isEmpty())
        return text;
    const QString stars(8, QLatin1Char('*'));
    const QString encoded = QString::fromLatin1(QUrl::toPercentEncoding(key));
    // In a request line the key is a query value, however short it is.
    for (const QString& form : {key, encoded}) {
        const QRegularExpression value(QLatin1Char('=') + QRegularExpression::escape(form)
                                       + QStringLiteral("(?=&|$|\\s)"));
        text.replace(value, QLatin1Char('=') + stars);
    }
    // Anywhere else (a provider that quotes it back), a key long enough not to match ordinary words.
    if (key.size() >= 4) {
        text.replace(key, stars);
        text.replace(encoded, stars, Qt::CaseInsensitive);
    }
    return text;
}

namespace {

// The specified service, exactly as its own clients ask and read it: two addresses of its own
// (QuoteService/...), symbols as they stand, the whole reply refused on a failed transfer.
class Classic : public QuoteSource
{
public:
    QString name() const override { return ClassicSource; }

    QString title() const override { return QStringLiteral("Quote service (CSV)"); }

    QString defaultAddress() const override { return {}; }

    bool needsKey() const override { return false; }

    std::chrono::milliseconds minimumInterval() const override { return {}; }

    std::optional<QString> providerSymbol(const QString& symbol) const override { return symbol; }

    QString historyRequest(const QString& symbol, QDate first, QDate last, const QString&) const override
    {
        return dailyQuotesRequest(symbol, first, last);
    }

    QString quoteRequest(const QString& symbol, const QString&) const override { return stockQuoteRequest(symbol); }

    HistoryParse parseHistory(const SourceReply& reply) const override
    {
        if (!reply.ok)
            return historyFailure(reply.error);
        DailyQuotesParse parsed = parseDailyQuotes(reply.body);
        return {parsed.ok, std::move(parsed.rows), {}, parsed.error};
    }

    QuoteParse parseQuote(const SourceReply& reply, const QLocale& locale) const override
    {
        if (!reply.ok)
            return quoteFailure(reply.error);
        QuoteParse parse;
        parse.values = parseStockQuote(reply.text(), locale);
        if (!parse.values)
            parse.reason = QStringLiteral("The current-quote service's reply holds fewer than twelve fields.");
        return parse;
    }
};

} // namespace

const QuoteSource& classicSource()
{
    static const Classic source;
    return source;
}

const QList<const QuoteSource*>& allSources()
{
    static const QList<const QuoteSource*> sources =
        {&classicSource(), &yahooSource(), &stooqSource(), &alphaVantageSource(), &tiingoSource(), &eodhdSource()};
    return sources;
}

const QuoteSource* findSource(const QString& name)
{
    for (const QuoteSource* source : allSources()) {
        if (source->name().compare(name.trimmed(), Qt::CaseInsensitive) == 0)
            return source;
    }
    return nullptr;
}

} // namespace download::sources
