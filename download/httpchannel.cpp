#include "httpchannel.h"

#include "version.h"

#include <QEventLoop>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSettings>
#include <QTimer>
#include <QUrl>

#include <memory>

namespace download {

ServiceAddresses ServiceAddresses::fromSettings(const QSettings& settings)
{
    const auto address = [&settings](const char* key, const char* variable) {
        const QString fromEnvironment = qEnvironmentVariable(variable).trimmed();
        if (!fromEnvironment.isEmpty())
            return fromEnvironment;
        return settings.value(QLatin1String(key)).toString().trimmed();
    };
    return {address(QuoteUrlKey, QuoteUrlVariable), address(HistoryUrlKey, HistoryUrlVariable)};
}

QString checkServiceAddress(const QString& address)
{
    const QString text = address.trimmed();
    if (text.isEmpty())
        return {};
    const QUrl url(text, QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty())
        return QStringLiteral("\"%1\" is not a web address such as https://quotes.example.net.").arg(text);
    if (url.scheme() != u"http" && url.scheme() != u"https")
        return QStringLiteral("\"%1\" must start with http:// or https://.").arg(text);
    if (!url.userInfo().isEmpty() || (!url.path().isEmpty() && url.path() != u"/") || url.hasQuery()
        || url.hasFragment())
        return QStringLiteral("\"%1\" may hold only a scheme, a host and a port.").arg(text);
    return {};
}

HttpChannel::HttpChannel(ServiceAddresses addresses, HttpLimits limits)
    : m_addresses(std::move(addresses))
    , m_limits(limits)
{}

TransferReply HttpChannel::get(QuoteService service, const QString& pathAndQuery)
{
    const bool history = service == QuoteService::History;
    const QString name = history ? QStringLiteral("history service") : QStringLiteral("current-quote service");
    QString base = history ? m_addresses.historyUrl : m_addresses.quoteUrl;
    TransferReply result;
    if (base.isEmpty()) {
        result.error = QStringLiteral("The %1 is not configured: set %2 in the settings or the variable %3.")
                           .arg(name,
                                QLatin1String(history ? HistoryUrlKey : QuoteUrlKey),
                                QLatin1String(history ? HistoryUrlVariable : QuoteUrlVariable));
        return result;
    }
    if (const QString problem = checkServiceAddress(base); !problem.isEmpty()) {
        result.error = QStringLiteral("The address of the %1 is unusable: %2").arg(name, problem);
        return result;
    }
    while (base.endsWith(QLatin1Char('/')))
        base.chop(1);
    // Tolerant mode percent-encodes what may not stand in an address (a space, a caret) and keeps the
    // rest of the request as the client built it.
    const QUrl url(base + pathAndQuery, QUrl::TolerantMode);
    result.url = url.toString();

    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::UserAgentHeader, QByteArrayLiteral("Ticksmith/" TICKSMITH_VERSION));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setMaximumRedirectsAllowed(m_limits.maxRedirects);
    const std::unique_ptr<QNetworkReply, void (*)(QNetworkReply*)> reply(m_manager.get(request),
                                                                         [](QNetworkReply* r) { r->deleteLater(); });

    QEventLoop loop;
    QTimer deadline;
    QByteArray body;
    QString failure; // set by the first rule that ends the transfer early
    const auto stop = [&](const QString& why) {
        if (failure.isEmpty()) {
            failure = why;
            reply->abort();
        }
    };
    const QString tooLarge = QStringLiteral("The %1 sent more than %2 bytes; the transfer was stopped.")
                                 .arg(name)
                                 .arg(m_limits.maxBodyBytes);
    QObject::connect(&deadline, &QTimer::timeout, &loop, [&] {
        stop(QStringLiteral("The %1 did not answer completely within %2 s.")
                 .arg(name)
                 .arg(double(m_limits.timeout.count()) / 1000));
    });
    QObject::connect(reply.get(), &QNetworkReply::metaDataChanged, &loop, [&] {
        if (reply->header(QNetworkRequest::ContentLengthHeader).toLongLong() > m_limits.maxBodyBytes)
            stop(tooLarge);
    });
    QObject::connect(reply.get(), &QNetworkReply::readyRead, &loop, [&] {
        body += reply->readAll();
        if (body.size() > m_limits.maxBodyBytes)
            stop(tooLarge);
    });
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    deadline.setSingleShot(true);
    deadline.start(m_limits.timeout);
    if (!reply->isFinished())
        loop.exec();
    deadline.stop();

    if (!failure.isEmpty()) {
        result.error = failure;
        return result;
    }
    body += reply->readAll();
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    result.status = status;
    result.retryAfter = QString::fromLatin1(reply->rawHeader("Retry-After")).trimmed();
    result.body = QString::fromUtf8(body);
    // The reason phrase is the server's own text: keep it to one short line.
    const QString reason =
        reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString().simplified().left(80);
    const QString statusText = QStringLiteral("The %1 answered HTTP %2 %3.").arg(name).arg(status).arg(reason);
    const QString contentType = reply->header(QNetworkRequest::ContentTypeHeader).toString().toLower();
    if (status >= 400)
        result.error = statusText;
    else if (reply->error() != QNetworkReply::NoError)
        result.error = QStringLiteral("The %1 could not be read: %2").arg(name, reply->errorString());
    else if (status < 200 || status >= 300)
        result.error = statusText;
    else if (contentType.startsWith(u"text/html") || contentType.startsWith(u"application/xhtml"))
        result.error = QStringLiteral("The %1 sent a web page instead of CSV data.").arg(name);
    else if (body.size() > m_limits.maxBodyBytes)
        result.error = tooLarge;
    if (!result.error.isEmpty())
        return result;
    result.ok = true;
    return result;
}

} // namespace download
