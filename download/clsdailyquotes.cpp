#include "clsdailyquotes.h"

#include "sources/sourceclient.h"
#include "store/metastock/datafile.h"

#include <QStringList>

#include <cmath>
#include <limits>
#include <optional>

namespace download {

namespace {

// The service writes numbers the same way whatever the user's locale: with the C locale's point.
std::optional<double> serviceNumber(const QByteArray& token)
{
    bool ok = false;
    const double value = token.toDouble(&ok);
    if (!ok || !std::isfinite(value))
        return std::nullopt;
    return value;
}

// A volume with decimals is rounded to the nearest whole number (ties to even); one that does not fit
// in 32 bits does not read.
std::optional<qint32> serviceVolume(const QByteArray& token)
{
    const std::optional<double> value = serviceNumber(token);
    if (!value)
        return std::nullopt;
    const double whole = std::nearbyint(*value);
    if (whole < std::numeric_limits<qint32>::min() || whole > std::numeric_limits<qint32>::max())
        return std::nullopt;
    return static_cast<qint32>(whole);
}

constexpr qsizetype MaxFieldBytes = 255;

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

bool DailyQuotesReader::read(QByteArrayView piece)
{
    if (!m_error.isEmpty())
        return false;
    m_empty = m_empty && piece.isEmpty();
    while (!piece.isEmpty()) {
        const char* const begin = piece.data();
        const char* end = begin;
        while (end != begin + piece.size() && *end != ',' && *end != '\r' && *end != '\n')
            ++end;
        // Only the six read fields of a data row are kept; the header and the adjusted close are passed.
        const qint64 column = (m_separators - 7) % 7;
        if (m_separators >= 7 && column < 6 && end != begin) {
            QByteArray& field = m_fields[column];
            if (field.size() + (end - begin) > MaxFieldBytes) {
                m_error = QStringLiteral("Row %1 of the history reply holds a field of more than %2 bytes.")
                              .arg(m_parsed.rows.size() + 1)
                              .arg(MaxFieldBytes);
                return false;
            }
            field.append(begin, end - begin);
        }
        if (end == begin + piece.size())
            break;
        if (!endToken())
            return false;
        piece = piece.sliced(end - begin + 1);
    }
    return true;
}

bool DailyQuotesReader::endToken()
{
    const qint64 token = m_separators++;
    // A row is read once a token follows its seventh, that is at the separator after its seventh.
    if (token < 7 || (token - 7) % 7 != 6)
        return true;
    const auto unusable = [this](const char* column, const QByteArray& text) {
        m_error = QStringLiteral("Row %1 of the history reply: the %2 \"%3\" is not a usable number.")
                      .arg(m_parsed.rows.size() + 1)
                      .arg(QLatin1String(column), QString::fromUtf8(text));
        return false;
    };
    static const char* const priceColumns[] = {"open", "high", "low", "close"};
    double prices[4];
    for (int c = 0; c < 4; ++c) {
        const std::optional<double> price = serviceNumber(m_fields[c + 1]);
        if (!price)
            return unusable(priceColumns[c], m_fields[c + 1]);
        prices[c] = *price;
    }
    const std::optional<qint32> volume = serviceVolume(m_fields[5]);
    if (!volume)
        return unusable("volume", m_fields[5]);
    if (m_parsed.rows.size() == store::metastock::maxBarsPerFile) {
        m_error = QStringLiteral("The history reply holds more rows than a security can hold (%1).")
                      .arg(store::metastock::maxBarsPerFile);
        return false;
    }
    m_parsed.rows.append({QString::fromUtf8(m_fields[0]), prices[0], prices[1], prices[2], prices[3], *volume});
    for (QByteArray& field : m_fields)
        field.clear();
    return true;
}

DailyQuotesParse DailyQuotesReader::finish()
{
    if (!m_error.isEmpty())
        return {false, {}, m_error};
    // Without a separator the body is one token; an empty body is none.
    const qint64 tokens = m_empty ? 0 : m_separators + 1;
    if (tokens < 12)
        return {false, {}, QStringLiteral("The history reply holds no data rows.")};
    return std::move(m_parsed);
}

DailyQuotesParse parseDailyQuotes(QByteArrayView body)
{
    DailyQuotesReader reader;
    (void)reader.read(body);
    return reader.finish();
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
