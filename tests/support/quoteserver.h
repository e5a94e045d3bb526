#pragma once

#include <QByteArray>
#include <QDate>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QTcpServer>
#include <QUrlQuery>

#include <chrono>
#include <optional>

class QTcpSocket;

namespace testing_support {

// One daily bar as the quote service sends it.
struct HistoryRow
{
    QDate date;
    double open = 0;
    double high = 0;
    double low = 0;
    double close = 0;
    qint64 volume = 0;
    double adjustedClose = 0;
};

// A quote service on 127.0.0.1 (a port the system picks) inside the test process. It serves the
// history at "/table.csv" and the current quote at "/d/quotes.csv" from what a test scripts per
// symbol, logs every request, and misbehaves on request. It answers through the test's event loop, so
// the client must wait in one (as the HTTP channel does); a blocking client would wait for ever.
// Creating a server also turns off any proxy for the process, so that nothing reroutes 127.0.0.1.
class QuoteServer : public QObject
{
    Q_OBJECT

public:
    enum class Misbehaviour
    {
        None,
        NotFound, // 404
        ServerError, // 500
        HtmlPage, // 200 with a web page full of commas and lines
        CutShort, // 200 announcing the whole body, sending half of it, then closing
        Slow, // the normal reply, after slowDelay
        NoReply, // reads the request and never answers
        RedirectLoop, // 302 back to the same address, for ever
        EndlessBody, // 200 without a length, then history rows until the client hangs up
    };

    // What the server does for one symbol (the "s" parameter).
    struct Script
    {
        // Served newest first, limited to the requested range; a range without rows gets the header alone.
        QList<HistoryRow> history;
        std::optional<QByteArray> historyBody; // served as it stands instead of history
        std::optional<QByteArray> quoteBody; // by default a quote built from the newest history row
        Misbehaviour misbehaviour = Misbehaviour::None;
    };

    struct Request
    {
        QString target; // path and query as sent
        QString path;
        QUrlQuery query;
        QByteArray userAgent;

        QString symbol() const { return query.queryItemValue(QStringLiteral("s"), QUrl::FullyDecoded); }
    };

    // A reply served as it stands, for the quote sources' own paths.
    struct CannedReply
    {
        QByteArray status = "200 OK";
        QByteArray body;
        QByteArray contentType = "application/json";
        QByteArray extraHeaders; // whole lines, each ending in CR LF
    };

    QuoteServer();
    ~QuoteServer() override;

    // Replies by path ("/v8/finance/chart/AAPL"), whatever the query: each request takes the first of
    // its list, the last one stays for every request after it.
    QMap<QString, QList<CannedReply>> canned;

    QString url() const; // "http://127.0.0.1:<port>"

    // The script of symbol, made on first use. A symbol without one gets 404 for its history and a
    // quote of "N/A" fields, as from the real service for an unknown symbol.
    Script& symbol(const QString& symbol) { return m_scripts[symbol]; }

    // Applies to every symbol whose own script has none.
    Misbehaviour misbehaviour = Misbehaviour::None;
    std::chrono::milliseconds slowDelay{200};

    const QList<Request>& requests() const { return m_requests; }

    // Slow replies whose client hung up before they were sent.
    int hungUp() const { return m_hungUp; }

    // A history reply: the header row, then rows in the order given, every line ending in a line feed.
    static QByteArray historyCsv(const QList<HistoryRow>& rows);
    // A made-up history with one row per weekday from first to last, oldest first, the same every run.
    static QList<HistoryRow> syntheticHistory(QDate first, QDate last);

private:
    void onConnection();
    void answer(QTcpSocket* socket, const QByteArray& head);
    void sendEndlessly(QTcpSocket* socket);
    QByteArray historyReply(const QString& symbol, const QUrlQuery& query) const;
    QByteArray quoteReply(const QString& symbol) const;

    QTcpServer m_server;
    QMap<QString, Script> m_scripts;
    QList<Request> m_requests;
    int m_hungUp = 0;
};

} // namespace testing_support
