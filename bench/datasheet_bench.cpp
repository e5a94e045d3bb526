// Times the data sheet over one security of 20,000 daily bars: opening it (reading every bar through
// MetaStockReader into the bar table and showing the window), and Insert of one bar, which writes the
// bar and reads the whole sheet again. Prints the times (best and median of several runs) and the
// memory the open sheet holds. Runs offscreen unless QT_QPA_PLATFORM names a platform; on a real
// display the progress window is shown while the bars are read, as in the program.

#include "benchsupport.h"
#include "store/metastockwriter.h"
#include "store/windows/bartablemodel.h"
#include "store/windows/frmview.h"
#include "testcontext.h"

#include <QApplication>
#include <QDate>
#include <QDateEdit>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

using bench::check;

constexpr int kBars = 20000;
constexpr int kRuns = 7;

// Weekdays from 1940-01-01 on, as yyyymmdd numbers; 20,000 of them reach into 2016.
void writeSecurity(const QString& folder)
{
    store::MetaStockWriter writer;
    check(writer.OpenFolder(folder), "OpenFolder");
    check(writer.CreateSecurity(QStringLiteral("BIG"), QStringLiteral("Long history"), 1), "CreateSecurity");
    double price = 50;
    int written = 0;
    for (QDate day(1940, 1, 1); written < kBars; day = day.addDays(1)) {
        if (day.dayOfWeek() > 5)
            continue;
        const qint32 date = day.year() * 10000 + day.month() * 100 + day.day();
        price *= 1.0 + ((date * 7) % 11 - 5) / 1000.0;
        check(writer.AddBar(date, 0, price, price * 1.01, price * 0.99, price, 100000 + date % 977, 0), "AddBar");
        ++written;
    }
    check(writer.CloseFolder(), "CloseFolder");
}

// Resident memory of the process now, in bytes.
double residentBytes()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields[1].toDouble() * double(sysconf(_SC_PAGESIZE)) : 0;
}

double milliseconds(const QElapsedTimer& timer)
{
    return double(timer.nsecsElapsed()) / 1e6;
}

void report(const char* what, std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    std::printf("%-44s best %7.1f ms   median %7.1f ms\n", what, times.front(), times[times.size() / 2]);
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    testing_support::TestContext context;
    const QString folder = context.makeFolder(QStringLiteral("data"));
    writeSecurity(folder);
    std::printf("platform %s, %d bars\n", qPrintable(QGuiApplication::platformName()), kBars);

    std::vector<double> opening;
    double held = 0;
    for (int run = 0; run < kRuns; ++run) {
        const double before = residentBytes();
        QElapsedTimer timer;
        timer.start();
        store::frmView sheet(context, folder, QStringLiteral("Long history"), QStringLiteral("BIG"));
        sheet.show();
        QApplication::processEvents(); // the first paint
        opening.push_back(milliseconds(timer));
        held = std::max(held, residentBytes() - before);
        if (sheet.bars().rowCount() != kBars) {
            std::fprintf(stderr, "the sheet holds %d rows, not %d\n", sheet.bars().rowCount(), kBars);
            return 1;
        }
    }
    report("open a data sheet (read and show)", opening);

    // Each Insert adds a bar before the first one, so every run writes a new date.
    store::frmView sheet(context, folder, QStringLiteral("Long history"), QStringLiteral("BIG"));
    sheet.show();
    std::vector<double> inserting;
    for (int run = 0; run < kRuns; ++run) {
        context.modalDrivers.push_back([run](QDialog& dialog) {
            auto& record = dynamic_cast<store::frmRecord&>(dialog);
            record.DTPicker1->setDate(QDate(1939, 12, 1).addDays(run));
            for (QLineEdit* box : {record.Text1, record.Text2, record.Text3, record.Text4, record.Text5})
                box->setText(QStringLiteral("10"));
            record.Command1->click();
            return record.result();
        });
        QElapsedTimer timer;
        timer.start();
        sheet.Command2_Click();
        QApplication::processEvents();
        inserting.push_back(milliseconds(timer));
    }
    report("Insert one bar (write and read again)", inserting);
    if (sheet.bars().rowCount() != kBars + kRuns) {
        std::fprintf(stderr, "the sheet holds %d rows after Insert, not %d\n", sheet.bars().rowCount(), kBars + kRuns);
        return 1;
    }

    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("memory held by an open sheet:                %7.1f MB\n", held / (1024.0 * 1024.0));
    std::printf("peak memory of the process:                  %7.1f MB\n", usage.ru_maxrss / 1024.0);
    return 0;
}
