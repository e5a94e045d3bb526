#include "downloadjob.h"

#include "clsdailyquotes.h"
#include "clsstockquote.h"
#include "prefetcher.h"
#include "selection.h"
#include "sources/sourceclient.h"
#include "store/arguments.h"
#include "store/metastockwriter.h"

#include <QElapsedTimer>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

namespace download {

namespace {

// The service writes its dates as "yyyy-MM-dd". Read by hand: QDate::fromString with a format reads
// the format again for every row, and that was the larger part of writing a year of bars.
std::optional<qint32> serviceBarDate(const QString& text)
{
    const QStringView date = QStringView(text).trimmed();
    if (date.size() != 10 || date[4] != u'-' || date[7] != u'-')
        return std::nullopt;
    bool yearOk = false, monthOk = false, dayOk = false;
    const int year = date.mid(0, 4).toInt(&yearOk);
    const int month = date.mid(5, 2).toInt(&monthOk);
    const int day = date.mid(8, 2).toInt(&dayOk);
    const bool digits = std::all_of(date.begin(), date.end(), [](QChar c) { return c.isDigit() || c == u'-'; });
    if (!yearOk || !monthOk || !dayOk || !digits || !QDate::isValid(year, month, day))
        return std::nullopt;
    return barDateOf(QDate(year, month, day));
}

// The service writes prices with a point, whatever the user's locale.
std::optional<double> serviceNumber(const QString& text)
{
    bool ok = false;
    const double value = text.trimmed().toDouble(&ok);
    return ok && std::isfinite(value) ? std::optional<double>(value) : std::nullopt;
}

// The quote client groups the volume's digits the locale's way ("1,500,000").
std::optional<double> quoteVolume(const QString& text, const QLocale& locale)
{
    bool ok = false;
    const double value = locale.toDouble(text.trimmed(), &ok);
    if (ok && std::isfinite(value))
        return value;
    return serviceNumber(text);
}

QString classify(qint16 historyStatus)
{
    switch (historyStatus) {
    case 0:
    case 1:
        return ResultOk;
    case clsDailyQuotes::StatusNoData:
        return ResultNoData;
    default:
        return ResultNoConnection;
    }
}

} // namespace

DownloadOptions DownloadOptions::fromState(const context::SharedState& state)
{
    return {state.downloadWeekendQuotes(),
            state.downloadCurrentQuote,
            state.dataCorrection,
            dateFromText(state.dataCorrectionFrom),
            std::clamp(int(state.s2), 1, MaxThreads)};
}

QString slowestRequestsText(const QList<RequestTime>& requests)
{
    QStringList texts;
    for (const RequestTime& request : requests) {
        QString text = QStringLiteral("%1 %2 s").arg(request.symbol).arg(double(request.ms) / 1000, 0, 'f', 1);
        if (!request.error.isEmpty())
            text += QStringLiteral(" (%1)").arg(request.error);
        texts.append(text);
    }
    return texts.isEmpty() ? QString() : QStringLiteral("Slowest requests: ") + texts.join(QStringLiteral(", "));
}

bool isUpToDate(QDate from, QDate today, bool weekendQuotes)
{
    if (from > today)
        return true;
    if (weekendQuotes)
        return false;
    if (from.dayOfWeek() == Qt::Sunday && today.addDays(-1) == from)
        return true;
    return from.dayOfWeek() == Qt::Saturday && from == today;
}

// One run of the job: its options, its outcome so far and the failure regime it is in.
class DownloadJob::Run
{
public:
    Run(DownloadJob& job, const DownloadOptions& options, QDate today)
        : m_job(job)
        , m_options(options)
        , m_today(today)
    {}

    // The first day to ask the history of item for; an invalid date when it needs no request.
    QDate historyFrom(const context::DownloadItem& item) const;

    // Processes item index of the list, taking its replies from ahead; false when a failure ends the job.
    bool security(int index, const context::DownloadItem& item, Prefetcher& ahead);

    JobOutcome outcome;
    QList<RequestTime> requests;

private:
    // What a failure does depends on how far the job has come. Until the first security reaches its
    // current-quote step (its history request, in correction mode) a failure ends the job: nothing of
    // the failing security is written and false comes back. From then on the job carries on: the
    // failure is reported (once per security) and the caller goes on with its next step.
    bool failed(const QString& symbol, const QString& error);

    bool check(const store::Status& status, const QString& symbol)
    {
        return status.ok() || failed(symbol, status.text());
    }

    // Hands the rows to the writer oldest first; what it leaves out goes into reasons.
    bool
    writeHistory(store::MetaStockWriter& writer, const QString& symbol, const DailyQuotes& rows, QStringList& reasons);
    // True when today's bar was written from the current quote.
    bool writeCurrentQuote(store::MetaStockWriter& writer, const QString& symbol, const StockQuoteValues& quote);
    bool replaceBar(store::MetaStockWriter& writer, const QString& symbol, const store::PriceBar& bar);
    void closeWriter(store::MetaStockWriter& writer, const QString& symbol);
    // The writer of folder, kept open from one security to the next of the same folder: opening reads
    // the folder's whole index, which for a folder of many securities costs more than the download.
    store::MetaStockWriter* openFolder(const QString& folder, const QString& symbol);

public:
    // Releases the folder kept open. A job that stopped does not call it: dropped without CloseFolder,
    // the writer forgets what it has not written, so the security whose download failed in the
    // stopping regime stays exactly as it was (those before it were written as each was finished).
    void closeFolder();

private:
    void record(const QString& symbol, const QString& result, const QString& reason = {});

    DownloadJob& m_job;
    const DownloadOptions& m_options;
    const QDate m_today;
    bool m_carryOn = false;
    bool m_failureReported = false; // for the security in hand
    std::unique_ptr<store::MetaStockWriter> m_writer;
    std::optional<QString> m_writerFolder; // empty when m_writer did not open
};

store::MetaStockWriter* DownloadJob::Run::openFolder(const QString& folder, const QString& symbol)
{
    if (m_writer && m_writerFolder == folder)
        return m_writer.get();
    closeFolder();
    auto writer = std::make_unique<store::MetaStockWriter>();
    const store::Status opened = writer->OpenFolder(folder);
    if (!check(opened, symbol))
        return nullptr;
    m_writer = std::move(writer);
    // Carrying on past a folder that would not open, the next security tries it again.
    m_writerFolder = opened.ok() ? std::optional<QString>(folder) : std::nullopt;
    return m_writer.get();
}

void DownloadJob::Run::closeFolder()
{
    // Every security was written when it was finished, so nothing is pending here.
    if (m_writer)
        (void)m_writer->CloseFolder();
    m_writer.reset();
}

bool DownloadJob::Run::failed(const QString& symbol, const QString& error)
{
    if (!m_carryOn) {
        outcome.stopReason = symbol + QStringLiteral(": ") + error;
        return false;
    }
    ++outcome.ignoredErrors;
    if (!m_failureReported && m_job.m_events.ignoredError)
        m_job.m_events.ignoredError(symbol, error);
    m_failureReported = true;
    return true;
}

QDate DownloadJob::Run::historyFrom(const context::DownloadItem& item) const
{
    if (m_options.dataCorrection)
        return m_options.correctionFrom;
    const QDate from = dateFromText(item.fromDate);
    return from.isValid() && !isUpToDate(from, m_today, m_options.weekendQuotes) ? from : QDate();
}

bool DownloadJob::Run::security(int index, const context::DownloadItem& item, Prefetcher& ahead)
{
    const QString symbol = item.symbol.trimmed();
    const QDate from = dateFromText(item.fromDate);
    m_failureReported = false;
    if (!historyFrom(item).isValid()) {
        if (from.isValid()) {
            record(symbol, ResultUpToDate);
            return true;
        }
        const QString reason = QStringLiteral("the start date \"%1\" is not a date").arg(item.fromDate);
        if (!failed(symbol, reason))
            return false;
        record(symbol, ResultNoData, reason);
        return true;
    }

    if (m_job.m_events.downloading)
        m_job.m_events.downloading(symbol);
    store::MetaStockWriter* opened = openFolder(item.folder.trimmed(), symbol);
    if (!opened)
        return false;
    store::MetaStockWriter& writer = *opened;
    if (!check(writer.SelectSecurity(symbol), symbol))
        return false;

    if (m_options.dataCorrection)
        m_carryOn = true;
    Fetched fetched = ahead.take(index);
    requests += fetched.requests;
    QStringList reasons;
    if (fetched.historyStatus != clsDailyQuotes::StatusOk)
        reasons.append(fetched.historyError);
    if (fetched.historyStatus == clsDailyQuotes::StatusOk && !writeHistory(writer, symbol, fetched.rows, reasons))
        return false;

    m_carryOn = true;
    // A bar from the current quote makes the security "OK" whatever its history brought; a quote
    // without one ("N/A") leaves the verdict to the history.
    const bool quoteWritten = fetched.quote && writeCurrentQuote(writer, symbol, *fetched.quote);
    closeWriter(writer, symbol);
    const QString reason = reasons.join(QStringLiteral("; "));
    if (quoteWritten)
        record(symbol, ResultOk, reason);
    else
        record(symbol, from > m_today ? ResultUpToDate : classify(fetched.historyStatus), reason);
    return true;
}

bool DownloadJob::Run::writeHistory(store::MetaStockWriter& writer,
                                    const QString& symbol,
                                    const DailyQuotes& rows,
                                    QStringList& reasons)
{
    const auto count = int(rows.size());
    const qint32 today = barDateOf(m_today);
    int future = 0;
    for (int j = count - 1; j >= 0; --j) {
        if (m_job.m_events.barWritten)
            m_job.m_events.barWritten(count - j, count);
        const DailyQuoteRecord& row = rows[j];
        const std::optional<qint32> date = serviceBarDate(row.date);
        if (!date) {
            if (!failed(symbol, QStringLiteral("the service's date \"%1\" is not a date").arg(row.date)))
                return false;
            continue;
        }
        // A bar dated after today would make every later run find the security up to date and so
        // freeze it: whatever the service says, the future is not written.
        if (*date > today) {
            ++future;
            continue;
        }
        const store::PriceBar bar{*date, 0, row.open, row.high, row.low, row.close, double(row.volume), 0};
        // Without correction the start date alone keeps bars from being written twice.
        const bool written =
            m_options.dataCorrection ? replaceBar(writer, symbol, bar) : check(writer.AddBar(bar), symbol);
        if (!written)
            return false;
    }
    if (m_job.m_events.barWritten)
        m_job.m_events.barWritten(0, count);
    if (future > 0)
        reasons.append(QStringLiteral("%1 rows dated after today were not written").arg(future));
    return true;
}

bool DownloadJob::Run::writeCurrentQuote(store::MetaStockWriter& writer,
                                         const QString& symbol,
                                         const StockQuoteValues& quote)
{
    // The properties in the client's order: Symbol, Quote, ..., Opening (6), DayHigh, DayLow, ... Volume (11).
    if (quote[6] == QLatin1String("N/A"))
        return false;
    const std::optional<double> open = serviceNumber(quote[6]);
    const std::optional<double> high = serviceNumber(quote[7]);
    const std::optional<double> low = serviceNumber(quote[8]);
    const std::optional<double> close = serviceNumber(quote[1]);
    const std::optional<double> volume = quoteVolume(quote[11], m_job.m_locale);
    if (!open || !high || !low || !close || !volume) {
        // The current-quote step always runs carrying on past failures.
        (void)failed(symbol, QStringLiteral("the current quote holds a value that is not a number"));
        return false;
    }
    const int failuresBefore = outcome.ignoredErrors;
    (void)replaceBar(writer, symbol, {barDateOf(m_today), 0, *open, *high, *low, *close, *volume, 0});
    return outcome.ignoredErrors == failuresBefore;
}

bool DownloadJob::Run::replaceBar(store::MetaStockWriter& writer, const QString& symbol, const store::PriceBar& bar)
{
    // Asked before an existing bar of its date is deleted, so that a value the writer would refuse never
    // costs the user the bar it was meant to replace.
    if (!check(store::checkBar(bar), symbol))
        return false;
    const QString dateText = QString::number(bar.date);
    bool exists = false;
    if (!check(writer.BarExists(dateText, exists), symbol))
        return false;
    if (exists && !check(writer.DeleteBar(dateText), symbol))
        return false;
    return check(writer.AddBar(bar), symbol);
}

void DownloadJob::Run::closeWriter(store::MetaStockWriter& writer, const QString& symbol)
{
    QElapsedTimer timer;
    timer.start();
    // Reached only while carrying on, so a failure is reported and the next call, which tries the write
    // again, still made. What cannot be written even then is given up with the writer, so that it does
    // not ride along with the next security's step.
    (void)check(writer.Commit(), symbol);
    const store::Status closed = writer.CloseSecurity();
    if (!check(closed, symbol) || !closed.ok())
        m_writer.reset();
    outcome.times.committingNs += timer.nsecsElapsed();
}

void DownloadJob::Run::record(const QString& symbol, const QString& result, const QString& reason)
{
    outcome.results.append({symbol, result, reason});
    if (result == ResultOk)
        ++outcome.counters.completed;
    else if (result == ResultUpToDate)
        ++outcome.counters.upToDate;
    else if (result == ResultNoData)
        ++outcome.counters.noData;
}

DownloadJob::DownloadJob(TransferChannel& channel, QLocale locale, Events events)
    : m_ownSources(std::make_unique<sources::SourceChain>(channel))
    , m_sources(*m_ownSources)
    , m_locale(std::move(locale))
    , m_events(std::move(events))
{}

DownloadJob::DownloadJob(sources::SourceChain& sources, QLocale locale, Events events)
    : m_sources(sources)
    , m_locale(std::move(locale))
    , m_events(std::move(events))
{}

DownloadJob::~DownloadJob() = default;

JobOutcome DownloadJob::run(const QList<context::DownloadItem>& items, const DownloadOptions& options, QDate today)
{
    m_cancel = false;
    Run run(*this, options, today);
    if (options.dataCorrection && !options.correctionFrom.isValid()) {
        run.outcome.end = JobOutcome::End::Stopped;
        run.outcome.stopReason = QStringLiteral("The data-correction date is not a date.");
        return run.outcome;
    }
    const auto total = int(items.size());
    QList<FetchOrder> orders;
    for (int i = 0; i < total; ++i) {
        if (const QDate first = run.historyFrom(items[i]); first.isValid())
            orders.append({i, items[i].symbol.trimmed(), first, options.currentQuote});
    }
    QElapsedTimer timer;
    timer.start();
    {
        Prefetcher ahead(m_sources, m_locale, today, orders, std::clamp(options.threads, 1, MaxThreads));
        for (int i = 0; i < total; ++i) {
            if (m_events.checking)
                m_events.checking(i + 1, total, items[i].symbol.trimmed(), run.outcome.counters);
            if (!run.security(i, items[i], ahead)) {
                run.outcome.end = JobOutcome::End::Stopped;
                break;
            }
            if (m_events.recorded)
                m_events.recorded(i + 1, total, run.outcome.results.constLast());
            if (m_cancel) {
                run.outcome.end = JobOutcome::End::Cancelled;
                break;
            }
        }
        if (run.outcome.end != JobOutcome::End::Stopped)
            run.closeFolder();
        run.outcome.times.waitingNs = ahead.waitedNs();
    }
    JobTimes& times = run.outcome.times;
    times.writingNs = timer.nsecsElapsed() - times.waitingNs - times.committingNs;

    QList<RequestTime>& slowest = run.requests;
    std::stable_sort(slowest.begin(), slowest.end(), [](const auto& a, const auto& b) { return a.ms > b.ms; });
    run.outcome.slowestRequests = slowest.mid(0, SlowestReported);
    return run.outcome;
}

} // namespace download
