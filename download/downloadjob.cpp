#include "downloadjob.h"

#include "clsdailyquotes.h"
#include "clsstockquote.h"
#include "selection.h"
#include "sources/sourceclient.h"
#include "store/arguments.h"
#include "store/metastockwriter.h"

#include <cmath>
#include <optional>

namespace download {

namespace {

// The service writes its dates as "yyyy-MM-dd".
std::optional<qint32> serviceBarDate(const QString& text)
{
    const QDate date = QDate::fromString(text.trimmed(), QStringLiteral("yyyy-MM-dd"));
    if (!date.isValid())
        return std::nullopt;
    return barDateOf(date);
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
            dateFromText(state.dataCorrectionFrom)};
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

    // Processes one security; false when a failure ends the job.
    bool security(const context::DownloadItem& item);

    JobOutcome outcome;

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

    bool writeHistory(store::MetaStockWriter& writer, const QString& symbol, const DailyQuotes& rows);
    void writeCurrentQuote(store::MetaStockWriter& writer, const QString& symbol);
    bool replaceBar(store::MetaStockWriter& writer, const QString& symbol, const store::PriceBar& bar);
    void closeWriter(store::MetaStockWriter& writer, const QString& symbol);
    void record(const QString& symbol, const QString& result, const QString& reason = {});

    DownloadJob& m_job;
    const DownloadOptions& m_options;
    const QDate m_today;
    bool m_carryOn = false;
    bool m_failureReported = false; // for the security in hand
};

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

bool DownloadJob::Run::security(const context::DownloadItem& item)
{
    const QString symbol = item.symbol.trimmed();
    const QDate from = dateFromText(item.fromDate);
    m_failureReported = false;
    if (!m_options.dataCorrection) {
        if (!from.isValid()) {
            if (!failed(symbol, QStringLiteral("the start date \"%1\" is not a date").arg(item.fromDate)))
                return false;
            record(symbol, ResultNoData);
            return true;
        }
        if (isUpToDate(from, m_today, m_options.weekendQuotes)) {
            record(symbol, ResultUpToDate);
            return true;
        }
    }

    if (m_job.m_events.downloading)
        m_job.m_events.downloading(symbol);
    // Dropped without CloseFolder, the writer forgets everything it has not written: a security whose
    // download fails in the stopping regime stays exactly as it was.
    store::MetaStockWriter writer;
    if (!check(writer.OpenFolder(item.folder.trimmed()), symbol) || !check(writer.SelectSecurity(symbol), symbol))
        return false;

    if (m_options.dataCorrection)
        m_carryOn = true;
    DailyQuotes rows;
    clsDailyQuotes history(m_job.m_sources, rows);
    history.DownloadDailyQuotes(symbol, m_options.dataCorrection ? m_options.correctionFrom : from, m_today);
    if (history.Status() != clsDailyQuotes::StatusOk && m_job.m_events.historyFailed)
        m_job.m_events.historyFailed(symbol, history.errorString());
    if (history.Status() == clsDailyQuotes::StatusOk && !writeHistory(writer, symbol, rows))
        return false;

    m_carryOn = true;
    if (m_options.currentQuote) {
        // A current quote makes the security "OK" whatever its history brought.
        writeCurrentQuote(writer, symbol);
        closeWriter(writer, symbol);
        record(symbol, ResultOk);
        return true;
    }
    closeWriter(writer, symbol);
    const QString result = from > m_today ? ResultUpToDate : classify(history.Status());
    record(symbol, result, result == ResultNoData ? history.errorString() : QString());
    return true;
}

bool DownloadJob::Run::writeHistory(store::MetaStockWriter& writer, const QString& symbol, const DailyQuotes& rows)
{
    const auto count = int(rows.size());
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
        const store::PriceBar bar{*date, 0, row.open, row.high, row.low, row.close, double(row.volume), 0};
        // Without correction the start date alone keeps bars from being written twice.
        const bool written =
            m_options.dataCorrection ? replaceBar(writer, symbol, bar) : check(writer.AddBar(bar), symbol);
        if (!written)
            return false;
    }
    if (m_job.m_events.barWritten)
        m_job.m_events.barWritten(0, count);
    return true;
}

void DownloadJob::Run::writeCurrentQuote(store::MetaStockWriter& writer, const QString& symbol)
{
    clsStockQuote quote(m_job.m_sources, m_job.m_locale);
    quote.setSymbol(symbol);
    if (quote.Opening() == QLatin1String("N/A"))
        return;
    const std::optional<double> open = serviceNumber(quote.Opening());
    const std::optional<double> high = serviceNumber(quote.DayHigh());
    const std::optional<double> low = serviceNumber(quote.DayLow());
    const std::optional<double> close = serviceNumber(quote.Quote());
    const std::optional<double> volume = quoteVolume(quote.Volume(), m_job.m_locale);
    if (!open || !high || !low || !close || !volume) {
        failed(symbol, QStringLiteral("the current quote holds a value that is not a number"));
        return;
    }
    // The current-quote step always runs carrying on past failures, so its outcome needs no answer.
    (void)replaceBar(writer, symbol, {barDateOf(m_today), 0, *open, *high, *low, *close, *volume, 0});
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
    // Reached only while carrying on, so a failure is reported and the next call still made.
    (void)check(writer.Commit(), symbol);
    (void)check(writer.CloseSecurity(), symbol);
    (void)check(writer.CloseFolder(), symbol);
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
    for (int i = 0; i < total; ++i) {
        if (m_events.checking)
            m_events.checking(i + 1, total, items[i].symbol.trimmed(), run.outcome.counters);
        if (!run.security(items[i])) {
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
    return run.outcome;
}

} // namespace download
