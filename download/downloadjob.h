#pragma once

// The download job: brings every security of a download list up to date from the quote service and
// records one result per security. It holds no window: the progress window and ticksmith-cli both run
// it and follow it through its events.
//
//     download::DownloadJob job(channel, locale, events);
//     const download::JobOutcome outcome = job.run(state.downloadList, DownloadOptions::fromState(state), today);
//
// Per security, in list order: a security whose only missing days are tomorrow or a skipped weekend is
// "Up to date" without a request; otherwise one history request from its start date (or the correction
// date) to today, its rows written oldest first through a writer of its own (rows dated after today
// are left out), optionally today's bar from the current quote, then Commit, CloseSecurity, CloseFolder.
//
// Requests. The requests of the next securities are made ahead of the writer, `threads` securities at a
// time, on threads of their own (see prefetcher.h); the writing stays on the caller's thread, one
// security at a time in list order, so results, events and files are the same for every number of
// threads. Cancelling or stopping aborts the requests still in flight.
//
// Failures. The job starts out stopping: a failure while opening the folder, selecting the security or
// appending history bars ends the job at once; that security gets no result, its writer is dropped
// without writing anything, and the outcome ends Stopped with the reason. From the moment the first
// security reaches its current-quote step (or its history request, in correction mode) the job carries
// on past failures for the rest of the run: each is reported through Events::ignoredError and the
// security is classified by what the service answered.

#include "context/appcontext.h"
#include "transferchannel.h"

#include <QDate>
#include <QList>
#include <QLocale>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

namespace download {

namespace sources {
class SourceChain;
}

// The result texts, as the results list shows them.
inline const QString ResultOk = QStringLiteral("OK");
inline const QString ResultUpToDate = QStringLiteral("Up to date");
inline const QString ResultNoData = QStringLiteral("No Data");
inline const QString ResultNoConnection = QStringLiteral("No Connection");

struct DownloadOptions
{
    bool weekendQuotes = false; // also download a missing Saturday or Sunday
    bool currentQuote = false; // write today's bar from the current quote
    bool dataCorrection = false; // fetch again from correctionFrom and replace bars of the same date
    QDate correctionFrom;
    int threads = 1; // securities whose requests are in flight at once, 1 to MaxThreads

    static DownloadOptions fromState(const context::SharedState& state);
};

inline constexpr int MaxThreads = 5;

// Whether a security whose first missing day is from needs no request today. Without weekend
// downloads, a Sunday missing on the Monday after it and a Saturday missing on that Saturday count as
// up to date; every other past day is fetched.
bool isUpToDate(QDate from, QDate today, bool weekendQuotes);

// The progress window's counters: "OK", "Up to date" and "No Data" results. "No Connection" is not
// counted.
struct DownloadCounters
{
    int completed = 0;
    int upToDate = 0;
    int noData = 0;
};

// One request of a job and how long it took.
struct RequestTime
{
    QString symbol;
    QString request; // the address asked for
    qint64 ms = 0;
    QString error; // empty when it succeeded
};

// Where the writer's time went.
struct JobTimes
{
    qint64 waitingNs = 0; // for replies
    qint64 writingNs = 0; // opening securities and handing them bars
    qint64 committingNs = 0; // Commit, CloseSecurity and CloseFolder: the store making it durable
};

struct JobOutcome
{
    enum class End
    {
        Completed, // every security was processed
        Cancelled, // cancel() was seen after a security
        Stopped, // a failure before the job started carrying on past failures
    };

    End end = End::Completed;
    QList<context::DownloadResult> results; // one per processed security, in list order
    DownloadCounters counters;
    QString stopReason; // when Stopped: the symbol and what failed
    int ignoredErrors = 0; // failures the job carried on past
    QList<RequestTime> slowestRequests; // at most SlowestReported, slowest first
    JobTimes times;
};

inline constexpr int SlowestReported = 5;

// "Slowest requests: IBM 12.3 s (The history service did not answer ...), MSFT 4.1 s", or empty text
// when there were none.
QString slowestRequestsText(const QList<RequestTime>& requests);

class DownloadJob
{
public:
    // Each event is optional.
    struct Events
    {
        // A security is about to be checked: its number (from 1), the list's size, its symbol and the
        // counters as they stood before it.
        std::function<void(int index, int total, const QString& symbol, const DownloadCounters& counters)> checking;
        // Its history is about to be requested.
        std::function<void(const QString& symbol)> downloading;
        // Bar done of total of its history was handed to the writer; (0, total) once all are written.
        std::function<void(int done, int total)> barWritten;
        // Its result is recorded; cancel() called from here takes effect before the next security.
        std::function<void(int index, int total, const context::DownloadResult& result)> recorded;
        // A failure the job carried on past: the symbol and what failed.
        std::function<void(const QString& symbol, const QString& error)> ignoredError;
    };

    // locale reads the current quote's volume, which the quote client formats with it. The channel
    // must outlive the job and allow calls from several threads at once.
    DownloadJob(TransferChannel& channel, QLocale locale, Events events = {});
    // Downloads from the quote sources, asked in their order; they must outlive the job.
    DownloadJob(sources::SourceChain& sources, QLocale locale, Events events = {});
    ~DownloadJob();

    JobOutcome run(const QList<context::DownloadItem>& items, const DownloadOptions& options, QDate today);

    // Asks the running job to stop after the security it is working on. May be called from an event
    // handled while the job waits for the service.
    void cancel() { m_cancel = true; }

private:
    class Run;

    std::unique_ptr<sources::SourceChain> m_ownSources;
    sources::SourceChain& m_sources;
    QLocale m_locale;
    Events m_events;
    bool m_cancel = false;
};

} // namespace download
