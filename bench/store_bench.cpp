// Times the data component on generated folders: writing 250 securities of 5,000 bars and 1,500
// securities (the XMASTER path), reading every bar back through MetaStockReader, the download's
// per-security pattern in a folder of 1,500 (select, append, one step each, with and without the
// flushes), and its data-correction pattern (for each bar of a 5,000-bar security: BarExists,
// DeleteBar, AddBar; then Commit). Prints times, bars per second and the peak memory of the process.

#include "benchsupport.h"
#include "store/metastockreader.h"
#include "store/metastockwriter.h"

#include <QCoreApplication>
#include <QDate>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

namespace {

using bench::check;
using bench::NoSyncFileSystem;
using bench::tradingDays;

// What the download job does for each security of a folder it brings up to date, with the folder
// open for the whole list: select the security, append a few days, write that as one step. Every 15th
// security of the folder (MASTER's and XMASTER's alike); milliseconds per security.
double downloadSteps(store::FileSystem& fs, const QString& folder, int securities, qint32 firstDay)
{
    QElapsedTimer timer;
    timer.start();
    int steps = 0;
    store::MetaStockWriter writer(fs);
    check(writer.OpenFolder(folder), "OpenFolder");
    for (int s = 0; s < securities; s += 15, ++steps) {
        check(writer.SelectSecurity(QStringLiteral("SEC%1").arg(s)), "SelectSecurity");
        for (qint32 day = firstDay; day < firstDay + 5; ++day)
            check(writer.AddBar(day, 0, 1, 2, 0.5, 1.5, 100, 0), "AddBar");
        check(writer.Commit(), "Commit");
        check(writer.CloseSecurity(), "CloseSecurity");
    }
    check(writer.CloseFolder(), "CloseFolder");
    return double(timer.nsecsElapsed()) / 1e6 / steps;
}

double seconds(const QElapsedTimer& timer)
{
    return double(timer.nsecsElapsed()) / 1e9;
}

// With `commitEach`, every security is written as it is finished (CloseSecurity), as the create and
// download windows do; otherwise the whole folder is written by CloseFolder in one step.
void writeFolder(const QString& folder, int securities, const std::vector<qint32>& days, bool commitEach)
{
    store::MetaStockWriter writer;
    check(writer.CreateFolder(folder), "CreateFolder");
    check(writer.OpenFolder(folder), "OpenFolder");
    for (int s = 0; s < securities; ++s) {
        check(writer.CreateSecurity(QStringLiteral("SEC%1").arg(s), QStringLiteral("Security number %1").arg(s), 1),
              "CreateSecurity");
        double price = 10 + s % 50;
        for (qint32 day : days) {
            price *= 1.0 + ((day * 7 + s) % 11 - 5) / 1000.0;
            check(writer.AddBar(day, 0, price, price * 1.01, price * 0.99, price, 1000 + day % 977, 0), "AddBar");
        }
        if (commitEach)
            check(writer.CloseSecurity(), "CloseSecurity");
    }
    check(writer.CloseFolder(), "CloseFolder");
}

qint64 readFolder(const QString& folder)
{
    store::MetaStockReader reader;
    check(reader.OpenFolder(folder), "OpenFolder");
    qint64 bars = 0;
    double sum = 0;
    qint32 more = 0;
    while (reader.HasMoreSecurities(more).ok() && more > 0) {
        QString symbol;
        check(reader.NextSecurity(), "NextSecurity");
        check(reader.GetSymbol(symbol), "GetSymbol");
        check(reader.SelectSecurity(symbol), "SelectSecurity");
        while (reader.HasMoreBars(more).ok() && more > 0) {
            qint32 date = 0;
            double open = 0, high = 0, low = 0, close = 0, volume = 0;
            check(reader.ReadNextBar(), "ReadNextBar");
            check(reader.GetBarDate(date), "GetBarDate");
            check(reader.GetOpen(open), "GetOpen");
            check(reader.GetHigh(high), "GetHigh");
            check(reader.GetLow(low), "GetLow");
            check(reader.GetClose(close), "GetClose");
            check(reader.GetVolume(volume), "GetVolume");
            sum += close + volume + date;
            ++bars;
        }
        check(reader.CloseSecurity(), "CloseSecurity");
    }
    check(reader.Close(), "Close");
    if (sum == 0)
        std::fprintf(stderr, "no bars read\n");
    return bars;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QTemporaryDir root;
    const std::vector<qint32> days = tradingDays(5000);
    const QString large = root.filePath(QStringLiteral("large"));
    const QString many = root.filePath(QStringLiteral("many"));

    QElapsedTimer timer;
    timer.start();
    writeFolder(large, 250, days, true);
    const double writeLarge = seconds(timer);
    std::printf("write 250 x 5,000 bars, one step each: %8.3f s  %12.0f bars/s\n", writeLarge, 250 * 5000 / writeLarge);

    const std::vector<qint32> year(days.end() - 250, days.end());
    timer.restart();
    writeFolder(many, 1500, year, false);
    const double writeMany = seconds(timer);
    std::printf("write 1,500 x 250 bars in one step:    %8.3f s  %12.0f bars/s\n", writeMany, 1500 * 250 / writeMany);

    timer.restart();
    writeFolder(root.filePath(QStringLiteral("steps")), 300, year, true);
    const double writeSteps = seconds(timer);
    std::printf("write 300 x 250 bars, one step each:   %8.3f s  %12.1f ms per security\n",
                writeSteps,
                writeSteps * 1e3 / 300);

    timer.restart();
    const qint64 bars = readFolder(large);
    const double read = seconds(timer);
    std::printf("read %lld bars (250 securities):    %8.3f s  %12.0f bars/s\n",
                static_cast<long long>(bars),
                read,
                bars / read);

    timer.restart();
    const qint64 barsMany = readFolder(many);
    const double readMany = seconds(timer);
    std::printf("read %lld bars (1,500 securities):    %8.3f s  %12.0f bars/s\n",
                static_cast<long long>(barsMany),
                readMany,
                barsMany / readMany);

    NoSyncFileSystem noSync;
    store::FileSystem durable;
    std::printf("download pattern, 1,500 securities:     %8.3f ms per security without flushes, %.3f ms with them\n",
                downloadSteps(noSync, many, 1500, 20300101),
                downloadSteps(durable, many, 1500, 20300201));

    store::MetaStockWriter writer;
    check(writer.OpenFolder(large), "OpenFolder");
    timer.restart();
    check(writer.SelectSecurity(QStringLiteral("SEC7")), "SelectSecurity");
    const double select = seconds(timer);
    timer.restart();
    for (qint32 day : days) {
        const QString text = QString::number(day);
        bool exists = false;
        check(writer.BarExists(text, exists), "BarExists");
        if (exists)
            check(writer.DeleteBar(text), "DeleteBar");
        check(writer.AddBar(day, 0, 1, 2, 0.5, 1.5, 100, 0), "AddBar");
    }
    const double calls = seconds(timer);
    timer.restart();
    check(writer.Commit(), "Commit");
    const double commit = seconds(timer);
    check(writer.CloseSecurity(), "CloseSecurity");
    check(writer.CloseFolder(), "CloseFolder");
    std::printf(
        "correction of 5,000 bars:              %8.3f ms (select %.3f ms, 15,000 calls %.3f ms, commit %.3f ms)\n",
        (select + calls + commit) * 1e3,
        select * 1e3,
        calls * 1e3,
        commit * 1e3);

    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("peak memory:                            %8.1f MB\n", usage.ru_maxrss / 1024.0);
    return 0;
}
