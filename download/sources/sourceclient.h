#pragma once

// The quote sources as the download job, the windows and ticksmith-cli use them: a chain of configured
// sources (profile, key, address) in the user's fallback order. A security whose history the first
// source cannot give is asked of the next one.
//
// Settings, section [Sources]: "Source" (the chosen profile, "classic" by default), "Fallback" (names,
// comma-separated, asked after it), "<name>Key" and "<name>Url". The environment wins over the file so
// that scheduled runs need no window: TICKSMITH_SOURCE chooses, TICKSMITH_<NAME>_KEY gives a key and
// TICKSMITH_<NAME>_URL replaces a provider's scheme, host and port (tests point it at a local server).
// The specified service keeps its own two addresses (QuoteService/...).
//
// Keys are secrets: every request line and error text leaves here masked, and saveSourceSettings
// makes the settings file readable by its owner alone.

#include "download/clsstockquote.h"
#include "download/httpchannel.h"
#include "download/mdldailyquotes.h"
#include "quotesource.h"

#include <QMutex>
#include <QStringList>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

class QSettings;

namespace download::sources {

inline constexpr const char* SourceKey = "Sources/Source";
inline constexpr const char* FallbackKey = "Sources/Fallback";
inline constexpr const char* SourceVariable = "TICKSMITH_SOURCE";

// The key of a profile: TICKSMITH_<NAME>_KEY, else the settings' <name>Key.
QString sourceKey(const QuoteSource& source, const QSettings& settings);
// The base address of a profile that is not the specified service: TICKSMITH_<NAME>_URL, else the
// settings' <name>Url, else the provider's own.
QString sourceAddress(const QuoteSource& source, const QSettings& settings);
QString keySetting(const QuoteSource& source); // "Sources/<name>Key"
QString addressSetting(const QuoteSource& source); // "Sources/<name>Url"

// What the user chose: the source and those asked after it, by name.
struct SourceChoice
{
    QString source = ClassicSource;
    QStringList fallback;

    // From the settings; chosen (a --source option) or TICKSMITH_SOURCE replaces the chosen source.
    static SourceChoice fromSettings(const QSettings& settings, const QString& chosen = {});
    // Why a name is not a profile, or empty text.
    QString problem() const;
};

// Writes the choice and the keys (name -> key; an empty key is removed), then makes the settings file
// readable and writable by its owner alone.
void saveSourceSettings(QSettings& settings, const SourceChoice& choice, const QHash<QString, QString>& keys);

struct SourceHistory
{
    bool ok = false;
    DailyQuotes rows; // newest first, only of the dates asked for
    QString request; // the last request line, its key masked
    QString reason; // when not ok: what each source answered
};

struct SourceQuote
{
    std::optional<StockQuoteValues> values;
    QString request;
    QString reason;
};

// One configured source: its profile, key and channel. It keeps the profile's pace between requests,
// waits once on a 429 whose Retry-After is short, and checks that a reply holds the symbol and dates
// asked for.
class SourceClient
{
public:
    // Asks through channel, which must outlive the client.
    SourceClient(const QuoteSource& profile, TransferChannel& channel, QString key = {});
    // Asks through an HTTP channel of its own, to the profile's address from the settings.
    SourceClient(const QuoteSource& profile, const QSettings& settings, HttpLimits limits = {});

    const QuoteSource& profile() const { return m_profile; }

    SourceHistory history(const QString& symbol, QDate first, QDate last);
    SourceQuote quote(const QString& symbol, const QLocale& locale);

    // A reply is held whole before its profile parses it, by each of the download's request threads at
    // once, so the cap is far below the channel's: twenty years of daily bars are well under 2 MiB in
    // every provider's layout, and five threads stay within the program's memory bound.
    static constexpr qsizetype MaxReplyBytes = 8 * 1024 * 1024;

    // The longest Retry-After that is waited for; a longer one is reported as a rate limit.
    static constexpr std::chrono::seconds MaxRetryWait{30};

    TransferChannel& channel() { return m_channel; }

private:
    SourceReply fetch(QuoteService service, const QString& pathAndQuery);
    // Waits on the calling thread until delay after the latest request and books the next one then:
    // a download asks from several threads at once, and the profile's pace holds for all of them.
    void pace(std::chrono::milliseconds delay);

    const QuoteSource& m_profile;
    std::unique_ptr<TransferChannel> m_ownChannel;
    TransferChannel& m_channel;
    QString m_key;
    QMutex m_paceMutex; // guards m_nextRequest
    std::optional<std::chrono::steady_clock::time_point> m_nextRequest; // the earliest the next may start
};

// The chosen source and its fallbacks, asked in order.
class SourceChain
{
public:
    // The specified service alone, through channel (which must outlive the chain).
    explicit SourceChain(TransferChannel& channel);
    // The user's choice, each source with its own HTTP channel.
    SourceChain(const SourceChoice& choice, const QSettings& settings, HttpLimits limits = {});

    SourceHistory history(const QString& symbol, QDate first, QDate last);
    SourceQuote quote(const QString& symbol, const QLocale& locale);

    const std::vector<std::unique_ptr<SourceClient>>& clients() const { return m_clients; }

    // As TransferChannel's, for the channels of every source.
    void abortTransfers();
    void allowTransfers();

private:
    std::vector<std::unique_ptr<SourceClient>> m_clients;
};

} // namespace download::sources
