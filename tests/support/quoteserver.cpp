#include "quoteserver.h"

#include <QNetworkProxy>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>
#include <memory>

namespace testing_support {

namespace {

QByteArray number(double value)
{
    return QByteArray::number(value, 'f', 2);
}

QByteArray response(const QByteArray& statusLine,
                    const QByteArray& contentType,
                    const QByteArray& body,
                    const QByteArray& extraHeaders = {})
{
    return "HTTP/1.1 " + statusLine + "\r\nContent-Type: " + contentType + "\r\nContent-Length: "
        + QByteArray::number(body.size()) + "\r\nConnection: close\r\n" + extraHeaders + "\r\n" + body;
}

// The range a history request asks for; an absent or broken parameter leaves that end open.
QDate requestedDate(const QUrlQuery& query, const char* month, const char* day, const char* year)
{
    const auto value = [&query](const char* key) { return query.queryItemValue(QLatin1String(key)).toInt(); };
    return QDate(value(year), value(month) + 1, value(day));
}

} // namespace

QuoteServer::QuoteServer()
{
    QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
    connect(&m_server, &QTcpServer::newConnection, this, &QuoteServer::onConnection);
    m_server.listen(QHostAddress::LocalHost, 0);
}

QuoteServer::~QuoteServer() = default;

QString QuoteServer::url() const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(m_server.serverPort());
}

QByteArray QuoteServer::historyCsv(const QList<HistoryRow>& rows)
{
    QByteArray csv = "Date,Open,High,Low,Close,Volume,Adj Close\n";
    for (const HistoryRow& row : rows) {
        csv += row.date.toString(Qt::ISODate).toLatin1() + ',' + number(row.open) + ',' + number(row.high) + ','
            + number(row.low) + ',' + number(row.close) + ',' + QByteArray::number(row.volume) + ','
            + number(row.adjustedClose) + '\n';
    }
    return csv;
}

QList<HistoryRow> QuoteServer::syntheticHistory(QDate first, QDate last)
{
    QList<HistoryRow> rows;
    int n = 0;
    for (QDate date = first; date <= last; date = date.addDays(1)) {
        if (date.dayOfWeek() > 5)
            continue;
        // A saw-tooth around 50 with a spread of 2: varied, repeatable, never negative.
        const double open = 50 + (n * 37 % 200) / 20.0;
        const double close = open + ((n * 13 % 9) - 4) / 4.0;
        const qint64 volume = 100000 + n * 7919 % 50000;
        rows.append({date, open, std::max(open, close) + 1, std::min(open, close) - 1, close, volume, close});
        ++n;
    }
    return rows;
}

void QuoteServer::onConnection()
{
    while (QTcpSocket* socket = m_server.nextPendingConnection()) {
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        auto received = std::make_shared<QByteArray>();
        connect(socket, &QTcpSocket::readyRead, this, [this, socket, received] {
            if (received->endsWith("\r\n\r\n"))
                return; // one request per connection; anything after it is ignored
            *received += socket->readAll();
            const qsizetype end = received->indexOf("\r\n\r\n");
            if (end >= 0) {
                received->truncate(end + 4);
                answer(socket, *received);
            }
        });
    }
}

void QuoteServer::answer(QTcpSocket* socket, const QByteArray& head)
{
    const QList<QByteArray> lines = head.split('\n');
    const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
    Request request;
    request.target = QString::fromLatin1(requestLine.value(1));
    const QUrl url(request.target);
    request.path = url.path();
    request.query = QUrlQuery(url);
    for (const QByteArray& line : lines) {
        if (line.toLower().startsWith("user-agent:"))
            request.userAgent = line.mid(11).trimmed();
    }
    m_requests.append(request);

    if (auto found = canned.find(request.path); found != canned.end() && !found->isEmpty()) {
        const CannedReply reply = found->size() > 1 ? found->takeFirst() : found->first();
        socket->write(response(reply.status, reply.contentType, reply.body, reply.extraHeaders));
        socket->disconnectFromHost();
        return;
    }

    const QString symbol = request.symbol();
    const Misbehaviour own = m_scripts.value(symbol).misbehaviour;
    const Misbehaviour chosen = own != Misbehaviour::None ? own : misbehaviour;
    const bool history = request.path == u"/table.csv";
    // Unknown paths and the history of a symbol without a script are missing, as on the real service.
    const bool known = history ? m_scripts.contains(symbol) : request.path == u"/d/quotes.csv";
    if (chosen == Misbehaviour::NoReply)
        return;
    if (chosen == Misbehaviour::EndlessBody)
        return sendEndlessly(socket);
    QByteArray status = "200 OK";
    QByteArray type = "text/csv";
    QByteArray body;
    QByteArray extraHeaders;
    if (chosen == Misbehaviour::NotFound || !known) {
        status = "404 Not Found";
        body = "Not found.\n";
    } else if (chosen == Misbehaviour::ServerError) {
        status = "500 Internal Server Error";
        body = "Something broke.\n";
    } else if (chosen == Misbehaviour::HtmlPage) {
        type = "text/html; charset=utf-8";
        body = "<html>\n<head><title>Quotes, charts, news, and more</title></head>\n<body>\n"
               "<p>Sorry, the symbol, the page, or the service, is not available, right now.</p>\n</body>\n</html>\n";
    } else if (chosen == Misbehaviour::RedirectLoop) {
        status = "302 Found";
        extraHeaders = "Location: " + request.target.toLatin1() + "\r\n";
    } else {
        body = history ? historyReply(symbol, request.query) : quoteReply(symbol);
    }

    QByteArray reply = response(status, type, body, extraHeaders);
    if (chosen == Misbehaviour::CutShort)
        reply.chop(body.size() - body.size() / 2); // the announced length stays that of the whole body
    const auto send = [socket, reply] {
        socket->write(reply);
        socket->disconnectFromHost();
    };
    if (chosen == Misbehaviour::Slow) {
        auto sent = std::make_shared<bool>(false);
        connect(socket, &QTcpSocket::disconnected, this, [this, sent] { m_hungUp += *sent ? 0 : 1; });
        QTimer::singleShot(slowDelay, socket, [send, sent] {
            *sent = true;
            send();
        });
    } else {
        send();
    }
}

void QuoteServer::sendEndlessly(QTcpSocket* socket)
{
    const QByteArray chunk = QByteArray("2005-01-03,1.00,2.00,0.50,1.50,1000,1.50\n").repeated(1000);
    socket->write("HTTP/1.1 200 OK\r\nContent-Type: text/csv\r\nConnection: close\r\n\r\n");
    socket->write(historyCsv({}) + chunk);
    // Keeps one chunk queued at a time until the client hangs up and the socket goes.
    connect(socket, &QTcpSocket::bytesWritten, socket, [socket, chunk] {
        if (socket->bytesToWrite() < chunk.size())
            socket->write(chunk);
    });
}

QByteArray QuoteServer::historyReply(const QString& symbol, const QUrlQuery& query) const
{
    const Script& script = *m_scripts.constFind(symbol);
    if (script.historyBody)
        return *script.historyBody;
    const QDate first = requestedDate(query, "a", "b", "c");
    const QDate last = requestedDate(query, "d", "e", "f");
    QList<HistoryRow> rows;
    for (const HistoryRow& row : script.history) {
        if ((!first.isValid() || row.date >= first) && (!last.isValid() || row.date <= last))
            rows.append(row);
    }
    std::sort(rows.begin(), rows.end(), [](const HistoryRow& a, const HistoryRow& b) { return a.date > b.date; });
    return historyCsv(rows);
}

QByteArray QuoteServer::quoteReply(const QString& symbol) const
{
    const auto found = m_scripts.constFind(symbol);
    if (found != m_scripts.constEnd() && found->quoteBody)
        return *found->quoteBody;
    const QByteArray quoted = '"' + symbol.toLatin1() + '"';
    if (found == m_scripts.constEnd() || found->history.isEmpty())
        return quoted + ",0.00,\"N/A\",\"N/A\",N/A,N/A,N/A,N/A,N/A,N/A,N/A,N/A\n";
    const HistoryRow newest = *std::max_element(found->history.begin(),
                                                found->history.end(),
                                                [](const auto& a, const auto& b) { return a.date < b.date; });
    const double change = newest.close - newest.open;
    return quoted + ',' + number(newest.close) + ",\"" + newest.date.toString(QStringLiteral("M/d/yyyy")).toLatin1()
        + "\",\"4:00pm\"," + number(change) + ",\"" + number(change / newest.open * 100) + "%\"," + number(newest.open)
        + ',' + number(newest.high) + ',' + number(newest.low) + ",N/A,N/A," + QByteArray::number(newest.volume) + '\n';
}

} // namespace testing_support
