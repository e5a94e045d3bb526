#include "prefetcher.h"

#include "clsdailyquotes.h"
#include "sources/sourceclient.h"

#include <QElapsedTimer>
#include <QEventLoop>

namespace download {

namespace {

Fetched fetch(sources::SourceChain& sources, const QLocale& locale, QDate today, const FetchOrder& order)
{
    Fetched fetched;
    // Each ask is timed for the job's report of the slowest, fallbacks and waits for the pace included.
    QElapsedTimer timer;
    timer.start();
    clsDailyQuotes history(sources, fetched.rows);
    history.DownloadDailyQuotes(order.symbol, order.first, today);
    fetched.historyStatus = history.Status();
    fetched.historyError = history.errorString();
    fetched.requests.append({order.symbol, history.request(), timer.elapsed(), history.errorString()});
    if (order.currentQuote) {
        timer.start();
        clsStockQuote quote(sources, locale);
        quote.setSymbol(order.symbol);
        fetched.quote = quote.values();
        fetched.requests.append({order.symbol, quote.request(), timer.elapsed(), quote.errorString()});
    }
    return fetched;
}

} // namespace

Prefetcher::Prefetcher(sources::SourceChain& sources,
                       QLocale locale,
                       QDate today,
                       QList<FetchOrder> orders,
                       int threads)
    : m_sources(sources)
    , m_locale(std::move(locale))
    , m_today(today)
    , m_orders(std::move(orders))
    , m_threads(qMax(threads, 1))
{
    m_pool.setMaxThreadCount(m_threads);
    dispatch();
}

Prefetcher::~Prefetcher()
{
    m_sources.abortTransfers();
    m_pool.waitForDone();
    m_sources.allowTransfers();
}

void Prefetcher::dispatch()
{
    while (m_next < m_orders.size() && m_next - m_taken < m_threads) {
        const FetchOrder order = m_orders[m_next++];
        m_pool.start([this, order] {
            Fetched fetched = fetch(m_sources, m_locale, m_today, order);
            // Handed to the writer's thread; dropped unread if the prefetcher is gone by then.
            QMetaObject::invokeMethod(
                this,
                [this, item = order.item, fetched = std::move(fetched)]() mutable {
                    arrived(item, std::move(fetched));
                },
                Qt::QueuedConnection);
        });
    }
}

void Prefetcher::arrived(int item, Fetched fetched)
{
    m_arrived.insert(item, std::move(fetched));
    if (m_waiting)
        m_waiting->quit();
}

Fetched Prefetcher::take(int item)
{
    QElapsedTimer timer;
    timer.start();
    while (!m_arrived.contains(item)) {
        QEventLoop loop;
        m_waiting = &loop;
        loop.exec();
        m_waiting = nullptr;
    }
    m_waitedNs += timer.nsecsElapsed();
    ++m_taken;
    dispatch();
    return m_arrived.take(item);
}

} // namespace download
