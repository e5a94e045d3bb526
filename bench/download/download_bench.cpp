// Download figures: ticksmith-cli bringing many securities up to date from a quote server on
// 127.0.0.1; the same job run in this process at 1 and at 5 threads against a server that takes
// LATENCY_MS to answer, with where the writer's time went; the peak memory of ticksmith-cli against
// an endless reply and a 60 MB one (measured with /usr/bin/time -v); and data correction over long
// histories, whose cost must grow in step with the number of bars.
//
//     download-bench [SECURITIES [LATENCY_MS [CORRECTION_BARS]]]      (defaults 500, 200 and 5000)

#include "download/clsdailyquotes.h"
#include "download/downloadjob.h"
#include "download/httpchannel.h"
#include "download/selection.h"
#include "quoteserver.h"
#include "store/metastockwriter.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

namespace {

using testing_support::HistoryRow;
using testing_support::QuoteServer;

QString symbolOf(int i)
{
    return QStringLiteral("S%1").arg(i, 4, 10, QLatin1Char('0'));
}

// A folder of count daily securities, each holding the first of the served rows only.
bool makeFolder(const QString& folder, int count, const QList<HistoryRow>& served)
{
    store::MetaStockWriter writer;
    if (!writer.CreateFolder(folder).ok() || !writer.OpenFolder(folder).ok())
        return false;
    for (int i = 0; i < count; ++i) {
        const QString symbol = symbolOf(i);
        const HistoryRow& first = served.constFirst();
        const qint32 date = download::barDateOf(first.date);
        if (!writer.CreateSecurity(symbol, symbol, 1).ok()
            || !writer.AddBar(date, 0, first.open, first.high, first.low, first.close, double(first.volume), 0).ok())
            return false;
    }
    return writer.CloseFolder().ok();
}

QList<context::DownloadItem> listFolder(const QString& folder, QDate today)
{
    QList<download::ListedSecurity> securities;
    QList<context::DownloadItem> items;
    if (!download::listSecurities(folder, securities).ok())
        return items;
    for (const auto& security : securities) {
        if (const auto item =
                download::makeDownloadItem(security.symbol, security.firstDate, security.lastDate, folder, today))
            items.append(*item);
    }
    return items;
}

double seconds(qint64 ns)
{
    return double(ns) / 1e9;
}

long peakKiB(int who)
{
    rusage usage{};
    getrusage(who, &usage);
    return usage.ru_maxrss;
}

// Runs ticksmith-cli download on folder with the extra arguments; under /usr/bin/time -v when
// peakKiB is given, which then receives its maximum resident set size.
int runCli(const QuoteServer& server, QStringList arguments, qint64& elapsedNs, long* peakKiB = nullptr)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QLatin1String(download::HistoryUrlVariable), server.url());
    environment.insert(QLatin1String(download::QuoteUrlVariable), server.url());
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setStandardOutputFile(QProcess::nullDevice());
    QEventLoop loop;
    QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
    QObject::connect(&process, &QProcess::errorOccurred, &loop, &QEventLoop::quit);
    QString program = QStringLiteral(TICKSMITH_BUILD_DIR "/ticksmith-cli");
    arguments.prepend(QStringLiteral("download"));
    if (peakKiB) {
        arguments.prepend(program);
        arguments.prepend(QStringLiteral("-v"));
        program = QStringLiteral("/usr/bin/time");
    }
    QElapsedTimer timer;
    timer.start();
    process.start(program, arguments);
    loop.exec();
    elapsedNs = timer.nsecsElapsed();
    if (peakKiB) {
        const QString report = QString::fromUtf8(process.readAllStandardError());
        const QString key = QStringLiteral("Maximum resident set size (kbytes): ");
        const qsizetype at = report.indexOf(key);
        *peakKiB = at < 0 ? -1 : report.mid(at + key.size()).section(u'\n', 0, 0).toLong();
    }
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

// The in-process job over a fresh folder of count securities at the given threads; elapsed receives
// its time in seconds.
bool timedJob(const QuoteServer& server,
              const QString& folder,
              int count,
              const QList<HistoryRow>& served,
              int threads,
              QDate today,
              double& elapsed)
{
    if (!makeFolder(folder, count, served))
        return false;
    download::HttpChannel http({server.url(), server.url()});
    download::DownloadJob job(http, QLocale::c());
    download::DownloadOptions options;
    options.threads = threads;
    QElapsedTimer timer;
    timer.start();
    const download::JobOutcome outcome = job.run(listFolder(folder, today), options, today);
    elapsed = seconds(timer.nsecsElapsed());
    const download::JobTimes& t = outcome.times;
    std::printf("  threads %d: %.2f s in all, %d OK; the writer waited %.2f s, wrote %.2f s and committed "
                "%.2f s: %.2f ms of its own per security (%.2f writing, %.2f committing)\n",
                threads,
                elapsed,
                outcome.counters.completed,
                seconds(t.waitingNs),
                seconds(t.writingNs),
                seconds(t.committingNs),
                double(t.writingNs + t.committingNs) / 1e6 / count,
                double(t.writingNs) / 1e6 / count,
                double(t.committingNs) / 1e6 / count);
    return outcome.counters.completed == count;
}

// Data correction over `securities` securities of `bars` bars each, every bar fetched and replaced.
bool correction(const QString& folder, int securities, int bars, QDate today, double& elapsed)
{
    QuoteServer server;
    QDate first = today;
    for (int weekdays = 0; weekdays < bars; first = first.addDays(-1))
        weekdays += first.dayOfWeek() <= 5 ? 1 : 0;
    first = first.addDays(1);
    const QList<HistoryRow> rows = QuoteServer::syntheticHistory(first, today);
    for (int i = 0; i < securities; ++i)
        server.symbol(symbolOf(i)).history = rows;
    store::MetaStockWriter writer;
    if (!writer.CreateFolder(folder).ok() || !writer.OpenFolder(folder).ok())
        return false;
    for (int i = 0; i < securities; ++i) {
        if (!writer.CreateSecurity(symbolOf(i), symbolOf(i), 1).ok())
            return false;
        for (const HistoryRow& row : rows) {
            if (!writer.AddBar(download::barDateOf(row.date), 0, row.open, row.high, row.low, 1, 1, 0).ok())
                return false;
        }
    }
    if (!writer.CloseFolder().ok())
        return false;

    download::HttpChannel channel({server.url(), server.url()});
    download::DownloadJob job(channel, QLocale::c());
    download::DownloadOptions options;
    options.dataCorrection = true;
    options.correctionFrom = first;
    QElapsedTimer timer;
    timer.start();
    const download::JobOutcome outcome = job.run(listFolder(folder, today), options, today);
    elapsed = seconds(timer.nsecsElapsed());
    // The securities already hold today's bar, so each one ends "Up to date" after its correction.
    return outcome.end == download::JobOutcome::End::Completed && outcome.results.size() == securities
        && outcome.ignoredErrors == 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const int securities = argc > 1 ? std::atoi(argv[1]) : 500;
    const int latencyMs = argc > 2 ? std::atoi(argv[2]) : 200;
    const int correctionBars = argc > 3 ? std::atoi(argv[3]) : 5000;
    const QDate today = QDate::currentDate();
    QTemporaryDir root;

    QuoteServer server;
    const QList<HistoryRow> year = QuoteServer::syntheticHistory(today.addYears(-1), today);
    for (int i = 0; i < securities; ++i)
        server.symbol(symbolOf(i)).history = year;
    const qint64 rows = year.size() - 1;
    std::printf("%d securities, %lld new bars each (one year of weekdays), served from %s\n",
                securities,
                static_cast<long long>(rows),
                qPrintable(server.url()));

    const QString cliFolder = root.filePath(QStringLiteral("cli"));
    if (!makeFolder(cliFolder, securities, year)) {
        std::fprintf(stderr, "download-bench: cannot make the folder\n");
        return 1;
    }
    qint64 cliNs = 0;
    long cliPeak = 0;
    const int exit = runCli(server, {cliFolder}, cliNs, &cliPeak);
    std::printf("ticksmith-cli download without latency: %.2f s in all, %.1f ms per security, %.0f bars/s, exit %d, "
                "peak memory %ld KiB\n",
                seconds(cliNs),
                seconds(cliNs) * 1000 / securities,
                double(rows) * securities / seconds(cliNs),
                exit,
                cliPeak);

    // The history of a year, parsed as the request threads parse every reply.
    const QByteArray yearReply = QuoteServer::historyCsv(year);
    QElapsedTimer parseTimer;
    parseTimer.start();
    for (int i = 0; i < 200; ++i)
        (void)download::parseDailyQuotes(yearReply);
    std::printf("parsing one security's reply (%lld bytes) on a request thread: %.3f ms\n",
                static_cast<long long>(yearReply.size()),
                double(parseTimer.nsecsElapsed()) / 1e6 / 200);

    std::printf("the job in process, the server answering after %d ms:\n", latencyMs);
    server.misbehaviour = QuoteServer::Misbehaviour::Slow;
    server.slowDelay = std::chrono::milliseconds(latencyMs);
    double elapsed[2] = {0, 0};
    for (const int threads : {1, 5}) {
        const QString folder = root.filePath(QStringLiteral("job%1").arg(threads));
        if (!timedJob(server, folder, securities, year, threads, today, elapsed[threads == 1 ? 0 : 1])) {
            std::fprintf(stderr, "download-bench: the job did not bring every security up to date\n");
            return 1;
        }
    }
    std::printf("  speed-up of 5 threads over 1: %.2fx\n", elapsed[0] / elapsed[1]);
    server.misbehaviour = QuoteServer::Misbehaviour::None;

    // A service that never stops sending, and one that sends 60 MB: ticksmith-cli refuses both and
    // stays small, at any number of threads.
    const int hostile = 10;
    const QString hostileFolder = root.filePath(QStringLiteral("hostile"));
    if (!makeFolder(hostileFolder, hostile, year)) {
        std::fprintf(stderr, "download-bench: cannot make the folder\n");
        return 1;
    }
    const QByteArray sixtyMegabytes = QuoteServer::historyCsv({})
        + QByteArray("2005-01-03,1.00,2.00,0.50,1.50,1000,1.50\n").repeated(60'000'000 / 41);
    for (const bool endless : {true, false}) {
        for (int i = 0; i < hostile; ++i) {
            QuoteServer::Script& script = server.symbol(symbolOf(i));
            script.misbehaviour = endless ? QuoteServer::Misbehaviour::EndlessBody : QuoteServer::Misbehaviour::None;
            script.historyBody = endless ? std::optional<QByteArray>() : sixtyMegabytes;
        }
        for (const int threads : {1, 5}) {
            qint64 ns = 0;
            long peak = 0;
            const int code =
                runCli(server, {hostileFolder, QStringLiteral("--threads"), QString::number(threads)}, ns, &peak);
            std::printf("ticksmith-cli download, %d securities each answered %s, threads %d: %.2f s, exit %d, "
                        "peak memory %ld KiB (%.0f MB)\n",
                        hostile,
                        endless ? "with an endless reply" : "with 60 MB",
                        threads,
                        seconds(ns),
                        code,
                        peak,
                        double(peak) / 1024);
        }
    }

    for (const int bars : {correctionBars / 2, correctionBars}) {
        double correctionElapsed = 0;
        const int count = 20;
        if (!correction(root.filePath(QStringLiteral("correction%1").arg(bars)),
                        count,
                        bars,
                        today,
                        correctionElapsed)) {
            std::fprintf(stderr, "download-bench: the data-correction run failed\n");
            return 1;
        }
        std::printf("data correction, %d securities of %d bars: %.2f s, %.1f us per bar\n",
                    count,
                    bars,
                    correctionElapsed,
                    correctionElapsed * 1e6 / (double(count) * bars));
    }
    std::printf("peak memory of the benchmark: %ld KiB\n", peakKiB(RUSAGE_SELF));
    return exit == 0 ? 0 : 1;
}
