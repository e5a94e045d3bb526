#pragma once

// The requests of a download job, made ahead of the writer on a few threads of their own, so that
// several securities wait for the service at once while the writer goes through them one at a time,
// in list order, on its own thread.
//
//     Prefetcher ahead(sources, locale, today, orders, threads);
//     Fetched fetched = ahead.take(item); // waits (handling events) until it is there
//
// At most `threads` orders are in flight or fetched and not yet taken; each take() lets the next one
// start. Destroying the prefetcher aborts what is still in flight and waits for its threads.

#include "clsstockquote.h"
#include "downloadjob.h"
#include "mdldailyquotes.h"

#include <QDate>
#include <QHash>
#include <QList>
#include <QLocale>
#include <QObject>
#include <QString>
#include <QThreadPool>

class QEventLoop;

namespace download::sources {
class SourceChain;
}

namespace download {

// The requests of one security: its history from first to today, then its current quote when asked.
struct FetchOrder
{
    int item = 0; // its place in the download list
    QString symbol;
    QDate first;
    bool currentQuote = false;
};

// What they brought.
struct Fetched
{
    qint16 historyStatus = 0; // as clsDailyQuotes::Status()
    QString historyError;
    DailyQuotes rows;
    std::optional<StockQuoteValues> quote; // when asked: the client's properties, "N/A" on failure
    QList<RequestTime> requests;
};

class Prefetcher : public QObject
{
public:
    // The sources must allow calls from several threads at once and outlive the prefetcher.
    Prefetcher(sources::SourceChain& sources, QLocale locale, QDate today, QList<FetchOrder> orders, int threads);
    ~Prefetcher() override;

    // The fetch of the order for item, once it has arrived; the caller's events are handled meanwhile.
    Fetched take(int item);

    // How long take() has waited in all.
    qint64 waitedNs() const { return m_waitedNs; }

private:
    void dispatch();
    void arrived(int item, Fetched fetched);

    sources::SourceChain& m_sources;
    const QLocale m_locale;
    const QDate m_today;
    const QList<FetchOrder> m_orders;
    const int m_threads;
    qsizetype m_next = 0; // the next order to start
    qsizetype m_taken = 0;
    QHash<int, Fetched> m_arrived;
    QEventLoop* m_waiting = nullptr;
    qint64 m_waitedNs = 0;
    QThreadPool m_pool;
};

} // namespace download
