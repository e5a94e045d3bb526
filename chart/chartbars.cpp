#include "chartbars.h"

#include "context/helpers.h"
#include "store/metastockreader.h"

#include <cmath>
#include <limits>

namespace chart {

double roundPrice(double price)
{
    return std::round(price * 100) / 100;
}

qint32 roundVolume(double volume)
{
    const double whole = std::nearbyint(volume);
    if (!(whole > std::numeric_limits<qint32>::min()))
        return std::numeric_limits<qint32>::min();
    if (whole > std::numeric_limits<qint32>::max())
        return std::numeric_limits<qint32>::max();
    return static_cast<qint32>(whole);
}

namespace {

// Fills `bar` from the current bar of `reader`; false when a field cannot be read. The locale's pattern
// and separator are looked up once per read, not once per bar.
bool readBar(const store::MetaStockReader& reader,
             const QString& pattern,
             const QString& separator,
             const QLocale& locale,
             ChartBar& bar)
{
    double volume = 0;
    if (!reader.GetBarDate(bar.yyyymmdd).ok() || !reader.GetOpen(bar.open).ok() || !reader.GetHigh(bar.high).ok()
        || !reader.GetLow(bar.low).ok() || !reader.GetClose(bar.close).ok() || !reader.GetVolume(volume).ok())
        return false;
    bar.date = context::FormatBarDate(bar.yyyymmdd, pattern, separator, locale);
    for (double* price : {&bar.open, &bar.high, &bar.low, &bar.close})
        *price = roundPrice(*price);
    bar.volume = roundVolume(volume);
    return true;
}

} // namespace

ReadOutcome readChartBars(const QString& folder,
                          const QString& symbol,
                          const QLocale& locale,
                          store::ProgressWindow& progress,
                          std::vector<ChartBar>& bars)
{
    store::MetaStockReader reader;
    qint32 count = 0;
    // Each step runs only when the one before it succeeded; the first failure ends the read.
    if (!progress.Open().ok() || !reader.OpenFolder(folder.trimmed()).ok()
        || !reader.SelectSecurity(symbol.trimmed()).ok() || !reader.GetBarCount(count).ok()
        || !progress.SetRange(0, count).ok() || !progress.SetVisible(1).ok()
        || !progress.SetCaption(QStringLiteral("Read Security data...")).ok()
        || !progress.SetLabel(QStringLiteral("Progress....")).ok() || !reader.SetDateField(2).ok())
        return ReadOutcome::Failed;

    const QString pattern = context::GetShortDatePattern(locale);
    const QString separator = context::GetDateSeparator(locale);
    bars.reserve(size_t(std::max(count, 0)));
    qint32 more = 0;
    bool cancelled = false;
    if (!reader.HasMoreBars(more).ok())
        return ReadOutcome::Failed;
    while (more >= 1) {
        if (!reader.HasMoreBars(more).ok())
            return ReadOutcome::Failed;
        if (more < 1)
            break;
        ChartBar& bar = bars.emplace_back();
        if (!reader.ReadNextBar().ok() || !readBar(reader, pattern, separator, locale, bar) || !progress.Step().ok()
            || !progress.IsCancelled(cancelled).ok())
            return ReadOutcome::Failed;
        if (cancelled) {
            (void)progress.Close();
            break;
        }
    }
    if (!reader.CloseSecurity().ok() || !reader.Close().ok())
        return ReadOutcome::Failed;
    return cancelled ? ReadOutcome::Cancelled : ReadOutcome::Read;
}

} // namespace chart
