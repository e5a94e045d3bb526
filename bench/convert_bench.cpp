// Times the data converter on generated folders of 250 x 5,000 and 1,500 x 5,000 bars (the second with
// XMASTER): export to CSV files, and import of those files into an empty folder with every security a
// durable step of its own, and once more with the flushes to the medium left out, which shows what the
// flushes cost. Each run is a process of its own, so its peak memory is its own. Each prints its wall
// time and its CPU time (user and system); on a machine busy with other work the second compares.
//
//     convert_bench                      all of it
//     convert_bench export|import|import-nosync FROM TO   one run (what the driver starts)
//     convert_bench generate SECURITIES FOLDER           a folder to try things on

#include "benchsupport.h"
#include "convert/csvexport.h"
#include "convert/metastockconverter.h"
#include "store/filesystem.h"
#include "store/metastockwriter.h"

#include <QCoreApplication>
#include <QDate>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

namespace {

using bench::check;
using bench::NoSyncFileSystem;
using bench::tradingDays;

// Prices in cents that wander, as quotes are, volumes of all sizes, over 5,000 trading days from 1990 on.
void generate(const QString& folder, int securities)
{
    const std::vector<qint32> days = tradingDays(5000);
    NoSyncFileSystem fs;
    store::MetaStockWriter writer(fs);
    check(writer.CreateFolder(folder), "CreateFolder");
    check(writer.OpenFolder(folder), "OpenFolder");
    for (int s = 0; s < securities; ++s) {
        check(writer.CreateSecurity(QStringLiteral("SEC%1").arg(s), QStringLiteral("Security number %1").arg(s), 1),
              "CreateSecurity");
        double price = 10 + s % 50;
        for (qint32 day : days) {
            price *= 1.0 + ((day * 7 + s) % 11 - 5) / 1000.0;
            auto cents = [](double value) { return std::round(value * 100) / 100; };
            check(writer.AddBar(day,
                                0,
                                cents(price),
                                cents(price * 1.01),
                                cents(price * 0.99),
                                cents(price * 1.002),
                                1000 + (day * 13 + s) % 977000,
                                0),
                  "AddBar");
        }
        check(writer.CloseSecurity(), "CloseSecurity");
    }
    check(writer.CloseFolder(), "CloseFolder");
}

// One run in this process: prints seconds, bars and peak memory on one line.
int runOne(const QString& what, const QString& from, const QString& to)
{
    const QLocale locale(QLocale::English, QLocale::UnitedStates);
    QElapsedTimer timer;
    timer.start();
    convert::ConversionReport report;
    if (what == u"export") {
        store::FileSystem fs;
        check(convert::exportFolder(fs, from, to, locale, report), "export");
    } else {
        NoSyncFileSystem noSync;
        store::FileSystem durable;
        convert::MetaStockConverter converter(what == u"import-nosync" ? noSync : durable, locale);
        check(converter.Convert(from, to, QStringLiteral("CSV")), "import");
        report = converter.report();
    }
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    if (!report.problems.empty())
        std::fprintf(stderr, "%s\n", qPrintable(report.problems.front().message()));
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const double cpu = double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec)
        + double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    std::printf("%.3f %.3f %lld %.1f\n", seconds, cpu, static_cast<long long>(report.bars), usage.ru_maxrss / 1024.0);
    return report.problems.empty() ? 0 : 1;
}

void measure(const char* title, const QString& what, const QString& from, const QString& to)
{
    QProcess run;
    run.start(QCoreApplication::applicationFilePath(), {what, from, to});
    run.waitForFinished(-1);
    double seconds = 0, cpu = 0, peak = 0;
    long long bars = 0;
    if (run.exitCode() != 0
        || std::sscanf(run.readAllStandardOutput().constData(), "%lf %lf %lld %lf", &seconds, &cpu, &bars, &peak)
            != 4) {
        std::fprintf(stderr, "%s failed: %s\n", title, run.readAllStandardError().constData());
        std::exit(1);
    }
    std::printf("%-40s %7.3f s %6.2f M bars/s | CPU %7.3f s %6.2f M bars/s | peak %5.1f MB\n",
                title,
                seconds,
                bars / seconds / 1e6,
                cpu,
                bars / cpu / 1e6,
                peak);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 4 && arguments[1] == u"generate") {
        generate(arguments[3], arguments[2].toInt());
        return 0;
    }
    if (arguments.size() == 4)
        return runOne(arguments[1], arguments[2], arguments[3]);

    QTemporaryDir root;
    for (int securities : {250, 1500}) {
        const QString folder = root.filePath(QStringLiteral("ms%1").arg(securities));
        const QString csv = root.filePath(QStringLiteral("csv%1").arg(securities));
        QElapsedTimer timer;
        timer.start();
        generate(folder, securities);
        std::printf("generated %d x 5,000 bars in %.1f s\n", securities, double(timer.elapsed()) / 1e3);
        const QString size = QStringLiteral("%1 x 5,000").arg(securities);
        measure(qPrintable(QStringLiteral("export %1").arg(size)), QStringLiteral("export"), folder, csv);
        measure(qPrintable(QStringLiteral("import %1, a durable step each").arg(size)),
                QStringLiteral("import"),
                csv,
                root.filePath(QStringLiteral("in%1").arg(securities)));
        measure(qPrintable(QStringLiteral("import %1, without flushes").arg(size)),
                QStringLiteral("import-nosync"),
                csv,
                root.filePath(QStringLiteral("nosync%1").arg(securities)));
    }
    return 0;
}
