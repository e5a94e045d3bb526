#include "prefetcher.h"

#include "clsdailyquotes.h"

#include <QElapsedTimer>
#include <QEventLoop>

namespace download {

namespace {

// Passes requests on and notes how long each took, for the job's report of the slowest.
class TimingChannel : public TransferChannel
{
public:
    TimingChannel(TransferChannel& inner, const QString& symbol, QList<RequestTime>& times)
        : m_inner(inner)
        , m_symbol(symbol)
        , m_times(times)
    {}

    TransferReply get(QuoteService service, const QString& pathAndQuery, BodyReader& reader) override
    {
        QElapsedTimer timer;
        timer.start();
        TransferReply reply = m_inner.get(service, pathAndQuery, reader);
        m_times.append({m_symbol, reply.url.isEmpty() ? pathAndQuery : reply.url, timer.elapsed(), reply.error});
        return reply;
    }

private:
    TransferChannel& m_inner;
    const QString& m_symbol;
    QList<RequestTime>& m_times;
};

Fetched fetch(TransferChannel& channel, const QLocale& locale, QDate today, const FetchOrder& order)
{
    Fetched fetched;
    TimingChannel timed(channel, order.symbol, fetched.requests);
    clsDailyQuotes history(timed, fetched.rows);
    history.DownloadDailyQuotes(order.symbol, order.first, today);
    fetched.historyStatus = history.Status();
    fetched.historyError = history.errorString();
    if (order.currentQuote) {
        clsStockQuote quote(timed, locale);
        quote.setSymbol(order.symbol);
        fetched.quote = quote.values();
    }
    return fetched;
}

} // namespace

Prefetcher::Prefetcher(TransferChannel& channel, QLocale locale, QDate today, QList<FetchOrder> orders, int threads)
    : m_channel(channel)
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
    m_channel.abortTransfers();
    m_pool.waitForDone();
    m_channel.allowTransfers();
}

void Prefetcher::dispatch()
{
    while (m_next < m_orders.size() && m_next - m_taken < m_threads) {
        const FetchOrder order = m_orders[m_next++];
        m_pool.start([this, order] {
            Fetched fetched = fetch(m_channel, m_locale, m_today, order);
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
