#include "clsdailyquotes.h"

#include "sources/sourceclient.h"

#include <QStringList>

#include <cmath>
#include <limits>
#include <optional>

namespace download {

namespace {

// The service writes numbers the same way whatever the user's locale: with the C locale's point.
std::optional<double> serviceNumber(const QString& token)
{
    bool ok = false;
    const double value = token.toDouble(&ok);
    if (!ok || !std::isfinite(value))
        return std::nullopt;
    return value;
}

// A volume with decimals is rounded to the nearest whole number (ties to even); one that does not fit
// in 32 bits does not read.
std::optional<qint32> serviceVolume(const QString& token)
{
    const std::optional<double> value = serviceNumber(token);
    if (!value)
        return std::nullopt;
    const double whole = std::nearbyint(*value);
    if (whole < std::numeric_limits<qint32>::min() || whole > std::numeric_limits<qint32>::max())
        return std::nullopt;
    return static_cast<qint32>(whole);
}

} // namespace

QString dailyQuotesRequest(const QString& symbol, QDate first, QDate last)
{
    return QStringLiteral("/table.csv?s=%1&d=%2&e=%3&f=%4&a=%5&b=%6&c=%7&ignore=.csv")
        .arg(symbol.trimmed())
        .arg(last.month() - 1)
        .arg(last.day())
        .arg(last.year())
        .arg(first.month() - 1)
        .arg(first.day())
        .arg(first.year());
}

DailyQuotesParse parseDailyQuotes(const QString& body)
{
    QString flat = body;
    flat.replace(QLatin1Char('\r'), QLatin1Char(',')).replace(QLatin1Char('\n'), QLatin1Char(','));
    const QStringList tokens = flat.split(QLatin1Char(','));
    const qsizetype upper = body.isEmpty() ? -1 : tokens.size() - 1;
    if (upper < 11)
        return {false, {}, QStringLiteral("The history reply holds no data rows.")};

    DailyQuotesParse result{true, {}, {}};
    const auto unusable = [&result](const char* column, const QString& token) {
        return DailyQuotesParse{false,
                                {},
                                QStringLiteral("Row %1 of the history reply: the %2 \"%3\" is not a usable number.")
                                    .arg(result.rows.size() + 1)
                                    .arg(QLatin1String(column), token)};
    };
    static const char* const priceColumns[] = {"open", "high", "low", "close"};
    for (qsizetype i = 7; i <= upper - 7; i += 7) {
        double prices[4];
        for (int c = 0; c < 4; ++c) {
            const std::optional<double> price = serviceNumber(tokens[i + 1 + c]);
            if (!price)
                return unusable(priceColumns[c], tokens[i + 1 + c]);
            prices[c] = *price;
        }
        const std::optional<qint32> volume = serviceVolume(tokens[i + 5]);
        if (!volume)
            return unusable("volume", tokens[i + 5]);
        result.rows.append({tokens[i], prices[0], prices[1], prices[2], prices[3], *volume});
    }
    return result;
}

clsDailyQuotes::clsDailyQuotes(TransferChannel& channel, DailyQuotes& quotes)
    : m_ownSources(std::make_unique<sources::SourceChain>(channel))
    , m_sources(*m_ownSources)
    , m_quotes(quotes)
{}

clsDailyQuotes::clsDailyQuotes(sources::SourceChain& sources, DailyQuotes& quotes)
    : m_sources(sources)
    , m_quotes(quotes)
{}

clsDailyQuotes::~clsDailyQuotes() = default;

void clsDailyQuotes::DownloadDailyQuotes(const QString& Symbol, QDate FirstDate, QDate LastDate)
{
    m_status = StatusNoData;
    sources::SourceHistory answer = m_sources.history(Symbol, FirstDate, LastDate);
    m_request = answer.request;
    if (!answer.ok) {
        m_error = answer.reason;
        return;
    }
    m_quotes = std::move(answer.rows);
    m_error.clear();
    m_status = StatusOk;
}

} // namespace download
