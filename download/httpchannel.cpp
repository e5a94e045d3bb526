#include "httpchannel.h"

#include "version.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
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

HttpLimits HttpLimits::fromSettings(const QSettings& settings)
{
    HttpLimits limits;
    bool ok = false;
    const int seconds = settings.value(QLatin1String(TimeoutKey)).toInt(&ok);
    if (ok && seconds >= 1 && seconds <= 3600)
        limits.timeout = std::chrono::seconds(seconds);
    return limits;
}

HttpChannel::HttpChannel(ServiceAddresses addresses, HttpLimits limits)
    : m_addresses(std::move(addresses))
    , m_limits(limits)
{}

HttpChannel::~HttpChannel()
{
    // The managers of other threads go with their threads.
    m_managers.setLocalData(nullptr);
}

QNetworkAccessManager& HttpChannel::manager()
{
    if (!m_managers.hasLocalData())
        m_managers.setLocalData(new QNetworkAccessManager);
    return *m_managers.localData();
}

void HttpChannel::abortTransfers()
{
    const QMutexLocker lock(&m_mutex);
    m_refusing = true;
    for (const auto& abort : std::as_const(m_aborts))
        abort();
}

void HttpChannel::allowTransfers()
{
    const QMutexLocker lock(&m_mutex);
    m_refusing = false;
}

TransferReply HttpChannel::get(QuoteService service, const QString& pathAndQuery, BodyReader& reader)
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
    const std::unique_ptr<QNetworkReply> reply(manager().get(request));
    // Qt reads no further ahead of us than this, so a fast server cannot fill our memory faster than
    // the reader takes the body.
    reply->setReadBufferSize(256 * 1024);

    QEventLoop loop;
    QTimer deadline;
    qint64 received = 0;
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
    const auto status = [&] { return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(); };
    const auto isWebPage = [&] {
        const QString type = reply->header(QNetworkRequest::ContentTypeHeader).toString().toLower();
        return type.startsWith(u"text/html") || type.startsWith(u"application/xhtml");
    };
    // Every byte counts against the limit. The reader sees an error reply's body too (quote sources
    // say there what went wrong), but only a reply that counts may be refused by it.
    const auto takeBody = [&] {
        const QByteArray piece = reply->readAll();
        received += piece.size();
        if (received > m_limits.maxBodyBytes)
            stop(tooLarge);
        else if (!reader.read(piece) && status() >= 200 && status() < 300 && !isWebPage())
            stop(reader.refusal());
    };
    QObject::connect(&deadline, &QTimer::timeout, &loop, [&] {
        stop(QStringLiteral("The %1 did not answer completely within %2 s.")
                 .arg(name)
                 .arg(double(m_limits.timeout.count()) / 1000));
    });
    QObject::connect(reply.get(), &QNetworkReply::metaDataChanged, &loop, [&] {
        if (reply->header(QNetworkRequest::ContentLengthHeader).toLongLong() > m_limits.maxBodyBytes)
            stop(tooLarge);
    });
    QObject::connect(reply.get(), &QNetworkReply::readyRead, &loop, takeBody);
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    {
        // Another thread may abort the transfer: the abort is carried out here, on the transfer's thread.
        const QMutexLocker lock(&m_mutex);
        if (m_refusing)
            stop(QStringLiteral("The transfer was cancelled."));
        m_aborts.insert(&loop, [&] {
            QMetaObject::invokeMethod(
                &loop,
                [&] { stop(QStringLiteral("The transfer was cancelled.")); },
                Qt::QueuedConnection);
        });
    }
    deadline.setSingleShot(true);
    deadline.start(m_limits.timeout);
    if (!reply->isFinished())
        loop.exec();
    deadline.stop();
    if (failure.isEmpty())
        takeBody();
    {
        const QMutexLocker lock(&m_mutex);
        m_aborts.remove(&loop);
    }

    if (!failure.isEmpty()) {
        result.error = failure;
        return result;
    }
    result.status = status();
    result.retryAfter = QString::fromLatin1(reply->rawHeader("Retry-After")).trimmed();
    // The reason phrase is the server's own text: keep it to one short line.
    const QString reason =
        reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString().simplified().left(80);
    const QString statusText = QStringLiteral("The %1 answered HTTP %2 %3.").arg(name).arg(status()).arg(reason);
    if (status() >= 400)
        result.error = statusText;
    else if (reply->error() != QNetworkReply::NoError)
        result.error = QStringLiteral("The %1 could not be read: %2").arg(name, reply->errorString());
    else if (status() < 200 || status() >= 300)
        result.error = statusText;
    else if (isWebPage())
        result.error = QStringLiteral("The %1 sent a web page instead of CSV data.").arg(name);
    result.ok = result.error.isEmpty();
    return result;
}

} // namespace download
