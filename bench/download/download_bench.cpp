// Download figures: ticksmith-cli bringing many securities up to date from a quote server on
// 127.0.0.1, the same job run in this process to tell waiting for the server from writing, and data
// correction over long histories, whose cost must grow in step with the number of bars.
//
//     download-bench [SECURITIES [CORRECTION_BARS]]      (defaults 500 and 5000)

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

// Counts the time the job spends waiting for the service.
class TimedChannel : public download::TransferChannel
{
public:
    explicit TimedChannel(download::TransferChannel& inner)
        : m_inner(inner)
    {}

    download::TransferReply get(download::QuoteService service, const QString& pathAndQuery) override
    {
        QElapsedTimer timer;
        timer.start();
        download::TransferReply reply = m_inner.get(service, pathAndQuery);
        waitedNs += timer.nsecsElapsed();
        return reply;
    }

    qint64 waitedNs = 0;

private:
    download::TransferChannel& m_inner;
};

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

int runCli(const QuoteServer& server, const QString& folder, qint64& elapsedNs)
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
    QElapsedTimer timer;
    timer.start();
    process.start(QStringLiteral(TICKSMITH_BUILD_DIR "/ticksmith-cli"), {QStringLiteral("download"), folder});
    loop.exec();
    elapsedNs = timer.nsecsElapsed();
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
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
    const int correctionBars = argc > 2 ? std::atoi(argv[2]) : 5000;
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
    const int exit = runCli(server, cliFolder, cliNs);
    std::printf("ticksmith-cli download: %.2f s in all, %.1f ms per security, %.0f bars/s, exit %d, "
                "peak memory %ld KiB\n",
                seconds(cliNs),
                seconds(cliNs) * 1000 / securities,
                double(rows) * securities / seconds(cliNs),
                exit,
                peakKiB(RUSAGE_CHILDREN));

    const QString jobFolder = root.filePath(QStringLiteral("job"));
    if (!makeFolder(jobFolder, securities, year)) {
        std::fprintf(stderr, "download-bench: cannot make the folder\n");
        return 1;
    }
    download::HttpChannel http({server.url(), server.url()});
    TimedChannel timed(http);
    download::DownloadJob job(timed, QLocale::c());
    QElapsedTimer timer;
    timer.start();
    const download::JobOutcome outcome = job.run(listFolder(jobFolder, today), {}, today);
    const qint64 jobNs = timer.nsecsElapsed();
    std::printf("the same job in process: %.2f s, of which %.2f s (%.0f%%) waiting for the server "
                "(its own work included) and %.2f s writing; %d OK\n",
                seconds(jobNs),
                seconds(timed.waitedNs),
                100.0 * double(timed.waitedNs) / double(jobNs),
                seconds(jobNs - timed.waitedNs),
                outcome.counters.completed);

    for (const int bars : {correctionBars / 2, correctionBars}) {
        double elapsed = 0;
        const int count = 20;
        if (!correction(root.filePath(QStringLiteral("correction%1").arg(bars)), count, bars, today, elapsed)) {
            std::fprintf(stderr, "download-bench: the data-correction run failed\n");
            return 1;
        }
        std::printf("data correction, %d securities of %d bars: %.2f s, %.1f us per bar\n",
                    count,
                    bars,
                    elapsed,
                    elapsed * 1e6 / (double(count) * bars));
    }
    std::printf("peak memory of the benchmark: %ld KiB\n", peakKiB(RUSAGE_SELF));
    return exit == 0 && outcome.counters.completed == securities ? 0 : 1;
}
