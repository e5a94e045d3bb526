#pragma once

#include "store/progresswindow.h"

#include <QLocale>
#include <QString>

#include <vector>

namespace chart {

// One bar as a chart keeps it in memory: prices rounded to cents, the date already as text.
struct ChartBar
{
    QString date; // the locale's short date, as the data sheet shows it
    qint32 yyyymmdd = 0; // the same date as a number, for the short labels along the bottom
    double open = 0;
    double high = 0;
    double low = 0;
    double close = 0;
    qint32 volume = 0;
};

// A price as the chart keeps it: rounded to two decimals, halves away from zero, as "####0.00" shows it.
double roundPrice(double price);

// A volume as a 32-bit whole number, halves to the even neighbour. The chart does not draw volumes, so a
// volume beyond the 32-bit range is held at its limit instead of costing the user the whole chart.
qint32 roundVolume(double volume);

enum class ReadOutcome
{
    Read, // every bar was read (perhaps none)
    Cancelled, // the user cancelled the progress window
    Failed, // the folder or the security could not be read
};

// Reads every bar of the security `symbol` in `folder`, oldest first, while `progress` shows how far
// reading has gone and may be cancelled. A failed or cancelled read leaves `bars` with what was read.
ReadOutcome readChartBars(const QString& folder,
                          const QString& symbol,
                          const QLocale& locale,
                          store::ProgressWindow& progress,
                          std::vector<ChartBar>& bars);

} // namespace chart
