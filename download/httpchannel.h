#pragma once

#include "transferchannel.h"

#include <QHash>
#include <QMutex>
#include <QString>
#include <QThreadStorage>

#include <chrono>
#include <functional>

class QNetworkAccessManager;

class QSettings;

namespace download {

// Settings keys and environment variables that hold the services' addresses. A variable that is set
// and not empty wins over the setting, so a scheduled run can point elsewhere without touching them.
inline constexpr const char* QuoteUrlKey = "QuoteService/QuoteUrl";
inline constexpr const char* HistoryUrlKey = "QuoteService/HistoryUrl";
inline constexpr const char* QuoteUrlVariable = "TICKSMITH_QUOTE_URL";
inline constexpr const char* HistoryUrlVariable = "TICKSMITH_HISTORY_URL";

// The base addresses of the two services: scheme, host and an optional port, such as
// "https://quotes.example.net:8443". There is no default: an empty address means "not configured".
struct ServiceAddresses
{
    QString quoteUrl;
    QString historyUrl;

    // From the settings, each overridden by its environment variable.
    static ServiceAddresses fromSettings(const QSettings& settings);
};

// Why address cannot serve as a service's base address, or empty text when it can. Empty text is
// acceptable too: it leaves the service unconfigured.
QString checkServiceAddress(const QString& address);

// The setting that holds the time a request may take, in seconds (default 30).
inline constexpr const char* TimeoutKey = "QuoteService/TimeoutSeconds";

// What a server may cost us. Each rule ends a transfer as a failure.
struct HttpLimits
{
    std::chrono::milliseconds timeout{30000}; // for the whole transfer: connecting, waiting, reading
    qint64 maxBodyBytes = 64 * 1024 * 1024; // counted as it arrives; the rest is never read
    int maxRedirects = 5; // never from https to http

    // The defaults with the timeout of the settings; a value out of 1 to 3600 s keeps the default.
    static HttpLimits fromSettings(const QSettings& settings);
};

// The real channel: an HTTP GET through QNetworkAccessManager, one manager per calling thread. It waits
// in a local event loop, so the caller's windows keep handling input (a Cancel click included) during a
// transfer; the caller must not destroy the channel from such an event while get() runs, nor while
// another thread is in get(). A reply counts only with a 2xx status and a body that is not a web page.
// Requests carry the user agent "Ticksmith/<version>".
class HttpChannel : public TransferChannel
{
public:
    explicit HttpChannel(ServiceAddresses addresses, HttpLimits limits = {});
    ~HttpChannel() override;

    TransferReply get(QuoteService service, const QString& pathAndQuery, BodyReader& reader) override;
    void abortTransfers() override;
    void allowTransfers() override;

private:
    QNetworkAccessManager& manager();

    const ServiceAddresses m_addresses;
    const HttpLimits m_limits;
    QThreadStorage<QNetworkAccessManager*> m_managers;
    QMutex m_mutex; // guards the two below
    bool m_refusing = false;
    QHash<const void*, std::function<void()>> m_aborts; // one per transfer in progress
};

} // namespace download
