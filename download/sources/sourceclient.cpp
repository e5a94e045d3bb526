#include "sourceclient.h"

#include <QDateTime>
#include <QFile>
#include <QLocale>
#include <QSettings>
#include <QTimeZone>

#include <thread>

namespace download::sources {

namespace {

QString variable(const QuoteSource& source, const char* what)
{
    return QStringLiteral("TICKSMITH_%1_%2").arg(source.name().toUpper(), QLatin1String(what));
}

// Seconds from a Retry-After header: a number of seconds or an HTTP date; nothing when it is neither.
std::optional<qint64> retrySeconds(const QString& header)
{
    bool number = false;
    const qint64 seconds = header.toLongLong(&number);
    if (number)
        return seconds >= 0 ? std::optional<qint64>(seconds) : std::nullopt;
    const QDateTime when = QLocale::c().toDateTime(header, QStringLiteral("ddd, dd MMM yyyy HH:mm:ss 'GMT'"));
    if (!when.isValid())
        return std::nullopt;
    QDateTime utc = when;
    utc.setTimeZone(QTimeZone::utc());
    return std::max<qint64>(0, QDateTime::currentDateTimeUtc().secsTo(utc));
}

} // namespace

QString keySetting(const QuoteSource& source)
{
    return QStringLiteral("Sources/%1Key").arg(source.name());
}

QString addressSetting(const QuoteSource& source)
{
    return QStringLiteral("Sources/%1Url").arg(source.name());
}

QString sourceKey(const QuoteSource& source, const QSettings& settings)
{
    const QString fromEnvironment = qEnvironmentVariable(variable(source, "KEY").toLatin1().constData()).trimmed();
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    return settings.value(keySetting(source)).toString().trimmed();
}

QString sourceAddress(const QuoteSource& source, const QSettings& settings)
{
    for (const QString& address : {qEnvironmentVariable(variable(source, "URL").toLatin1().constData()),
                                   settings.value(addressSetting(source)).toString()}) {
        if (!address.trimmed().isEmpty())
            return address.trimmed();
    }
    return source.defaultAddress();
}

SourceChoice SourceChoice::fromSettings(const QSettings& settings, const QString& chosen)
{
    SourceChoice choice;
    const QString saved = settings.value(QLatin1String(SourceKey)).toString().trimmed();
    const QString fromEnvironment = qEnvironmentVariable(SourceVariable).trimmed();
    for (const QString& name : {chosen.trimmed(), fromEnvironment, saved}) {
        if (!name.isEmpty()) {
            choice.source = name.toLower();
            break;
        }
    }
    for (const QString& name : settings.value(QLatin1String(FallbackKey)).toString().split(QLatin1Char(','))) {
        const QString fallback = name.trimmed().toLower();
        if (!fallback.isEmpty() && fallback != choice.source && !choice.fallback.contains(fallback))
            choice.fallback.append(fallback);
    }
    return choice;
}

QString SourceChoice::problem() const
{
    for (const QString& name : QStringList(source) + fallback) {
        if (!findSource(name)) {
            QStringList names;
            for (const QuoteSource* known : allSources())
                names.append(known->name());
            return QStringLiteral("\"%1\" is not a quote source; the sources are %2.").arg(name, names.join(u", "));
        }
    }
    return {};
}

void saveSourceSettings(QSettings& settings, const SourceChoice& choice, const QHash<QString, QString>& keys)
{
    const auto ownerOnly = [&settings] {
        settings.sync();
        QFile::setPermissions(settings.fileName(), QFile::ReadOwner | QFile::WriteOwner);
    };
    // The file is made private before a key goes into it; rewriting it keeps its permissions.
    settings.setValue(QLatin1String(SourceKey), choice.source);
    settings.setValue(QLatin1String(FallbackKey), choice.fallback.join(QLatin1Char(',')));
    ownerOnly();
    for (auto it = keys.begin(); it != keys.end(); ++it) {
        const QuoteSource* source = findSource(it.key());
        if (!source)
            continue;
        if (it.value().trimmed().isEmpty())
            settings.remove(keySetting(*source));
        else
            settings.setValue(keySetting(*source), it.value().trimmed());
    }
    ownerOnly();
}

SourceClient::SourceClient(const QuoteSource& profile, TransferChannel& channel, QString key)
    : m_profile(profile)
    , m_channel(channel)
    , m_key(std::move(key))
{}

SourceClient::SourceClient(const QuoteSource& profile, const QSettings& settings, HttpLimits limits)
    : m_profile(profile)
    , m_ownChannel(std::make_unique<HttpChannel>(
          profile.name() == ClassicSource
              ? ServiceAddresses::fromSettings(settings)
              : ServiceAddresses{sourceAddress(profile, settings), sourceAddress(profile, settings)},
          limits))
    , m_channel(*m_ownChannel)
    , m_key(sourceKey(profile, settings))
{}

void SourceClient::pace(std::chrono::milliseconds delay)
{
    std::chrono::steady_clock::time_point start;
    {
        const QMutexLocker lock(&m_paceMutex);
        const auto now = std::chrono::steady_clock::now();
        start = m_nextRequest ? std::max(now, *m_nextRequest + delay) : now;
        m_nextRequest = start;
    }
    std::this_thread::sleep_until(start);
}

SourceReply SourceClient::fetch(QuoteService service, const QString& pathAndQuery)
{
    const auto get = [&] {
        WholeBody body(MaxReplyBytes);
        return SourceReply{m_channel.get(service, pathAndQuery, body), std::move(body.body)};
    };
    pace(m_profile.minimumInterval());
    SourceReply reply = get();
    if (reply.status == 429) {
        const std::optional<qint64> seconds = retrySeconds(reply.retryAfter);
        if (seconds && *seconds <= MaxRetryWait.count()) {
            pace(std::chrono::seconds(*seconds));
            reply = get();
        }
    }
    reply.url = maskKey(reply.url.isEmpty() ? pathAndQuery : reply.url, m_key);
    reply.error = maskKey(reply.error, m_key);
    if (reply.status == 429 && !reply.error.isEmpty()) {
        reply.error = RateLimited + QStringLiteral(": ") + reply.error;
        if (!reply.retryAfter.isEmpty())
            reply.error += QStringLiteral(" Try again after %1 s.").arg(reply.retryAfter);
    }
    return reply;
}

SourceHistory SourceClient::history(const QString& symbol, QDate first, QDate last)
{
    SourceHistory result;
    const std::optional<QString> asked = m_profile.providerSymbol(symbol);
    if (!asked) {
        result.reason = QStringLiteral("%1 does not serve the market of %2.").arg(m_profile.title(), symbol.trimmed());
        return result;
    }
    if (m_profile.needsKey() && m_key.isEmpty()) {
        result.reason = QStringLiteral("%1 needs an API key: enter it in Settings or set %2.")
                            .arg(m_profile.title(), variable(m_profile, "KEY"));
        return result;
    }
    if (!first.isValid() || !last.isValid()) {
        result.reason = QStringLiteral("The history was asked for without a valid date range.");
        return result;
    }
    const SourceReply reply = fetch(QuoteService::History, m_profile.historyRequest(*asked, first, last, m_key));
    result.request = reply.url;
    HistoryParse parse = m_profile.parseHistory(reply);
    if (!parse.ok) {
        result.reason = maskKey(parse.reason, m_key);
        return result;
    }
    if (!parse.symbol.isEmpty() && parse.symbol.compare(*asked, Qt::CaseInsensitive) != 0) {
        result.reason = QStringLiteral("%1 answered with the prices of %2 instead of %3; none were written.")
                            .arg(m_profile.title(), parse.symbol.left(40), *asked);
        return result;
    }
    // The specified service's rows go on as they came: the download job leaves out and reports those
    // dated after today itself.
    if (m_profile.name() == ClassicSource) {
        result.rows = std::move(parse.rows);
        result.ok = true;
        return result;
    }
    // Rows of other dates are never written: a provider without a date range (or one that ignores it)
    // sends more than was asked for.
    const QString from = first.toString(Qt::ISODate);
    const QString to = last.toString(Qt::ISODate);
    for (const DailyQuoteRecord& row : parse.rows) {
        const bool dated = QDate::fromString(row.date, Qt::ISODate).isValid();
        if (!dated || (row.date >= from && row.date <= to))
            result.rows.append(row);
    }
    if (result.rows.isEmpty() && !parse.rows.isEmpty()) {
        result.reason = QStringLiteral("%1 has no bars from %2 to %3.").arg(m_profile.title(), from, to);
        return result;
    }
    result.ok = true;
    return result;
}

SourceQuote SourceClient::quote(const QString& symbol, const QLocale& locale)
{
    SourceQuote result;
    const std::optional<QString> asked = m_profile.providerSymbol(symbol);
    const QString request = asked ? m_profile.quoteRequest(*asked, m_key) : QString();
    if (request.isEmpty() || (m_profile.needsKey() && m_key.isEmpty())) {
        result.reason = QStringLiteral("%1 gives no current quote for %2.").arg(m_profile.title(), symbol.trimmed());
        return result;
    }
    const SourceReply reply = fetch(QuoteService::CurrentQuote, request);
    result.request = reply.url;
    QuoteParse parse = m_profile.parseQuote(reply, locale);
    if (!parse.values) {
        result.reason = maskKey(parse.reason, m_key);
        return result;
    }
    if (!parse.symbol.isEmpty() && parse.symbol.compare(*asked, Qt::CaseInsensitive) != 0) {
        result.reason = QStringLiteral("%1 answered with the quote of %2 instead of %3.")
                            .arg(m_profile.title(), parse.symbol.left(40), *asked);
        return result;
    }
    // The quote keeps the symbol the way the folder writes it (the specified service echoes it).
    if (m_profile.name() != ClassicSource)
        (*parse.values)[0] = symbol.trimmed();
    result.values = parse.values;
    return result;
}

SourceChain::SourceChain(TransferChannel& channel)
{
    m_clients.push_back(std::make_unique<SourceClient>(*findSource(ClassicSource), channel));
}

SourceChain::SourceChain(const SourceChoice& choice, const QSettings& settings, HttpLimits limits)
{
    for (const QString& name : QStringList(choice.source) + choice.fallback) {
        if (const QuoteSource* source = findSource(name))
            m_clients.push_back(std::make_unique<SourceClient>(*source, settings, limits));
    }
    // A name that is no source (a settings file edited by hand) leaves the default.
    if (m_clients.empty())
        m_clients.push_back(std::make_unique<SourceClient>(*findSource(ClassicSource), settings, limits));
}

SourceHistory SourceChain::history(const QString& symbol, QDate first, QDate last)
{
    SourceHistory result;
    QStringList reasons;
    for (const auto& client : m_clients) {
        SourceHistory answer = client->history(symbol, first, last);
        if (answer.ok)
            return answer;
        reasons.append(answer.reason);
        result.request = answer.request;
    }
    result.reason = reasons.join(QLatin1Char(' '));
    return result;
}

void SourceChain::abortTransfers()
{
    for (const auto& client : m_clients)
        client->channel().abortTransfers();
}

void SourceChain::allowTransfers()
{
    for (const auto& client : m_clients)
        client->channel().allowTransfers();
}

SourceQuote SourceChain::quote(const QString& symbol, const QLocale& locale)
{
    SourceQuote result;
    QStringList reasons;
    for (const auto& client : m_clients) {
        SourceQuote answer = client->quote(symbol, locale);
        if (answer.values)
            return answer;
        reasons.append(answer.reason);
        result.request = answer.request;
    }
    result.reason = reasons.join(QLatin1Char(' '));
    return result;
}

} // namespace download::sources
