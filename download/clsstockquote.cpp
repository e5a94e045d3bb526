#include "clsstockquote.h"

#include "sources/sourceclient.h"

#include <cmath>

namespace download {

const std::array<const char*, 12> StockQuotePropertyNames = {"Symbol",
                                                             "Quote",
                                                             "LastTradeDate",
                                                             "LastTradeTime",
                                                             "Change",
                                                             "PercentageChange",
                                                             "Opening",
                                                             "DayHigh",
                                                             "DayLow",
                                                             "Bid",
                                                             "Ask",
                                                             "Volume"};

QString stockQuoteRequest(const QString& symbol)
{
    // The f parameter fixes which fields come back and in which order: s l1 d1 t1 c1 p2 o h g b a v.
    return QStringLiteral("/d/quotes.csv?s=") + symbol + QStringLiteral("&f=sl1d1t1c1p2ohgbav&e=.csv");
}

std::optional<StockQuoteValues> parseStockQuote(const QString& body, const QLocale& locale)
{
    const QStringList fields = body.split(QLatin1Char(','));
    if (body.isEmpty() || fields.size() < 12)
        return std::nullopt;

    const auto unquoted = [](QString field) { return field.remove(QLatin1Char('"')); };
    StockQuoteValues values;
    for (int i = 0; i < 11; ++i)
        values[i] = unquoted(fields[i]);

    // The volume is the last field, so it still carries the reply's line end; the numeric test looks
    // past that whitespace, the quotes it does not.
    bool numeric = false;
    const double volume = locale.toDouble(fields[11].trimmed(), &numeric);
    if (numeric && std::isfinite(volume)) {
        QLocale grouped = locale;
        grouped.setNumberOptions(locale.numberOptions() & ~QLocale::OmitGroupSeparator);
        values[11] = grouped.toString(volume, 'f', 0);
    } else {
        values[11] = unquoted(fields[11]);
    }
    return values;
}

clsStockQuote::clsStockQuote(TransferChannel& channel, QLocale locale)
    : m_ownSources(std::make_unique<sources::SourceChain>(channel))
    , m_sources(*m_ownSources)
    , m_locale(std::move(locale))
{}

clsStockQuote::clsStockQuote(sources::SourceChain& sources, QLocale locale)
    : m_sources(sources)
    , m_locale(std::move(locale))
{}

clsStockQuote::~clsStockQuote() = default;

void clsStockQuote::setSymbol(const QString& symbol)
{
    const sources::SourceQuote answer = m_sources.quote(symbol, m_locale);
    m_request = answer.request;
    if (answer.values) {
        m_values = *answer.values;
        m_error.clear();
        return;
    }
    m_values.fill(QStringLiteral("N/A"));
    m_values[0] = symbol;
    m_values[1] = QStringLiteral("0.00");
    m_error = answer.reason;
}

} // namespace download
