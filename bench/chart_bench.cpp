// Times the chart window on a generated security of 20,000 daily bars: opening it (reading every bar
// with the progress window, then the first drawing) and redrawing it in each style, and a security whose
// prices run from 1 to 60,000, which asks for a grid line per unit. Prints times and the peak memory.
// Runs on the platform QT_QPA_PLATFORM names (offscreen when none is set); on a real screen the
// progress window is a real dialog.

#include "benchsupport.h"
#include "chart/windows/frmchart.h"
#include "context/appcontext.h"
#include "store/metastockwriter.h"

#include <QApplication>
#include <QDate>
#include <QElapsedTimer>
#include <QRadioButton>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <sys/resource.h>

namespace {

using bench::check;

constexpr int kBars = 20000;

// A security "X" of kBars trading days from 1950 on whose prices wander between `low` and `high`.
void writeSecurity(const QString& folder, double low, double high)
{
    store::MetaStockWriter writer;
    check(writer.CreateFolder(folder), "CreateFolder");
    check(writer.OpenFolder(folder), "OpenFolder");
    check(writer.CreateSecurity(QStringLiteral("X"), QStringLiteral("Example"), 1), "CreateSecurity");
    QDate day(1950, 1, 2);
    for (int i = 0; i < kBars; ++i) {
        while (day.dayOfWeek() > 5)
            day = day.addDays(1);
        const double wave = (std::sin(i / 700.0) + std::sin(i / 53.0) * 0.2 + 1.2) / 2.4;
        const double close = low + (high - low) * std::clamp(wave, 0.0, 1.0);
        const double open = close * (i % 2 ? 1.01 : 0.99);
        check(writer.AddBar(day.year() * 10000 + day.month() * 100 + day.day(),
                            0,
                            open,
                            std::max(open, close) * 1.005,
                            std::min(open, close) * 0.995,
                            close,
                            100000 + i,
                            0),
              "AddBar");
        day = day.addDays(1);
    }
    check(writer.CloseFolder(), "CloseFolder");
}

double milliseconds(const QElapsedTimer& timer)
{
    return double(timer.nsecsElapsed()) / 1e6;
}

// The processor time this thread has used: on a busy machine the elapsed time also holds the time other
// programs ran.
double cpuMilliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

// Opening as the program does it: the window reads and draws, is shown, and draws again at its size.
double open(context::AppContext& context, const QString& folder)
{
    QElapsedTimer timer;
    timer.start();
    chart::frmChart window(context, folder, QStringLiteral("X"));
    window.show();
    QApplication::processEvents();
    const double time = milliseconds(timer);
    if (window.bars().size() != size_t(kBars)) {
        std::fprintf(stderr, "read %zu bars instead of %d\n", window.bars().size(), kBars);
        std::exit(1);
    }
    return time;
}

// The slowest and the mean of `runs` redraws in each style.
void redraw(context::AppContext& context, const QString& folder, const char* what, int runs)
{
    chart::frmChart window(context, folder, QStringLiteral("X"));
    window.resize(1280, 720);
    window.show();
    QApplication::processEvents();
    for (QRadioButton* option : {window.Option1, window.Option2, window.Option3}) {
        option->setChecked(true);
        double slowest = 0;
        double total = 0;
        const double cpuStart = cpuMilliseconds();
        for (int run = 0; run < runs; ++run) {
            QElapsedTimer timer;
            timer.start();
            window.DrawChartSecurity();
            const double time = milliseconds(timer);
            slowest = std::max(slowest, time);
            total += time;
        }
        std::printf("redraw %-28s %-7s mean %8.2f ms  slowest %8.2f ms  processor %8.2f ms\n",
                    what,
                    qPrintable(option->text()),
                    total / runs,
                    slowest,
                    (cpuMilliseconds() - cpuStart) / runs);
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    context::AppContext context;
    context.locale = QLocale(QLocale::English, QLocale::UnitedStates);
    QTemporaryDir root;
    const QString usual = root.filePath(QStringLiteral("usual"));
    const QString wide = root.filePath(QStringLiteral("wide"));
    writeSecurity(usual, 20, 180);
    writeSecurity(wide, 1, 60000);

    std::printf("platform %s, 20,000 bars, chart %d x %d pixels when opened\n",
                qPrintable(QGuiApplication::platformName()),
                int(std::lround((12165 + 350) / chart::kTwipsPerPixel)),
                int(std::lround((6255 + 600) / chart::kTwipsPerPixel)));
    double slowestOpen = 0;
    double totalOpen = 0;
    const int opens = 10;
    const double cpuStart = cpuMilliseconds();
    for (int run = 0; run < opens; ++run) {
        const double time = open(context, usual);
        slowestOpen = std::max(slowestOpen, time);
        totalOpen += time;
    }
    std::printf("open (read 20,000 bars, draw twice)        mean %8.2f ms  slowest %8.2f ms  processor %8.2f ms\n",
                totalOpen / opens,
                slowestOpen,
                (cpuMilliseconds() - cpuStart) / opens);
    std::printf("open, prices 1 to 60,000                   %8.2f ms\n", open(context, wide));
    redraw(context, usual, "prices 20 to 180, 1280x720", 20);
    redraw(context, wide, "prices 1 to 60,000, 1280x720", 5);

    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("peak memory                                %8.1f MB\n", usage.ru_maxrss / 1024.0);
    return 0;
}
