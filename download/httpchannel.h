#pragma once

#include "transferchannel.h"

#include <QNetworkAccessManager>
#include <QString>

#include <chrono>

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

// What a server may cost us. Each rule ends a transfer as a failure.
struct HttpLimits
{
    std::chrono::milliseconds timeout{30000}; // for the whole transfer: connecting, waiting, reading
    qint64 maxBodyBytes = 64 * 1024 * 1024;
    int maxRedirects = 5; // never from https to http
};

// The real channel: an HTTP GET through QNetworkAccessManager. It waits in a local event loop, so the
// caller's windows keep handling input (a Cancel click included) during a transfer; the caller must not
// destroy the channel from such an event while get() runs. A reply counts only with a 2xx status and
// a body that is not a web page; it is read as UTF-8. Requests carry the user agent "Ticksmith/<version>".
class HttpChannel : public TransferChannel
{
public:
    explicit HttpChannel(ServiceAddresses addresses, HttpLimits limits = {});

    TransferReply get(QuoteService service, const QString& pathAndQuery) override;

private:
    ServiceAddresses m_addresses;
    HttpLimits m_limits;
    QNetworkAccessManager m_manager;
};

} // namespace download
