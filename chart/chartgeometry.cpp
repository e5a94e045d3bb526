#include "chartgeometry.h"

#include <QDate>

#include <algorithm>
#include <cmath>

namespace chart {

PriceRange priceRange(const std::vector<ChartBar>& bars)
{
    // Compared in single precision, as the chart has always compared them.
    float top = float(bars.front().high);
    float bottom = float(bars.front().low);
    for (const ChartBar& bar : bars) {
        top = std::max(top, float(bar.high));
        bottom = std::min(bottom, float(bar.low));
    }
    return {std::nearbyint(bottom) - 1, std::nearbyint(top) + 1};
}

QString shortDateLabel(qint32 yyyymmdd, const QString& separator, const QString& fallback)
{
    const QDate date(yyyymmdd / 10000, yyyymmdd / 100 % 100, yyyymmdd % 100);
    if (!date.isValid() || date.year() < 0)
        return fallback;
    const QString between = separator.isEmpty() ? QStringLiteral("/") : separator;
    return QString::number(date.day()) + between + QString::number(date.month()) + between
        + QStringLiteral("%1").arg(date.year() % 100, 2, 10, QLatin1Char('0'));
}

namespace {

// A whole price as a label: a blank stands where a minus sign would, so labels line up at the axis.
QString priceLabel(double price)
{
    const QString number = QString::number(price, 'f', 0);
    return price < 0 ? number : QLatin1Char(' ') + number;
}

} // namespace

// Positions are single-precision numbers throughout: the grid's y is stepped down by one unit at a time
// and carries the rounding of each step, as the chart has always drawn it.
void drawChart(const std::vector<ChartBar>& bars,
               ChartStyle style,
               float width,
               float height,
               const QString& dateSeparator,
               ChartCanvas& canvas)
{
    if (bars.empty())
        return;
    const PriceRange range = priceRange(bars);

    // The 650 twips right of the plot hold the price labels, the 500 below it the dates.
    const float plotRight = width - 650;
    const float plotBottom = height - 500;
    canvas.line({0, plotBottom}, {width, plotBottom}, kForeground);
    canvas.line({plotRight, 0}, {plotRight, height}, kForeground);

    const float step = plotRight / float(bars.size() + 2);
    const double units = range.top - range.bottom;
    if (!(units <= kMaxPriceUnits))
        return;
    const float unit = float(plotBottom / units);

    float y = plotBottom;
    int sinceLabel = 0;
    for (qint64 k = 0; k <= qint64(units); ++k) {
        const double price = range.bottom + double(k);
        ++sinceLabel;
        if (k == 0 || sinceLabel == 10 || price == range.top) {
            canvas.text({plotRight, y}, priceLabel(price));
            sinceLabel = 0;
        }
        if (k != 0)
            canvas.line({0, y}, {plotRight, y}, kGridColour);
        y -= unit;
    }

    const auto yOf = [&](double price) { return float(plotBottom - (price - range.bottom) * unit); };
    const auto label = [&](const ChartBar& bar) { return shortDateLabel(bar.yyyymmdd, dateSeparator, bar.date); };
    float x = 10;
    float previousX = 10;
    float previousY = 0;
    int sinceDate = 0;
    canvas.text({10, plotBottom}, label(bars.front()));
    for (const ChartBar& bar : bars) {
        x += step;
        switch (style) {
        case ChartStyle::Line: {
            const float yClose = yOf(bar.close);
            // The first segment runs flat into the first close.
            if (previousY == 0)
                previousY = yClose;
            canvas.line({previousX, previousY}, {x, yClose}, kForeground);
            previousY = yClose;
            break;
        }
        case ChartStyle::Bar:
            canvas.line({x, yOf(bar.high)}, {x, yOf(bar.low)}, kForeground);
            canvas.line({x, yOf(bar.open)}, {x - 50, yOf(bar.open)}, kForeground);
            canvas.line({x, yOf(bar.close)}, {x + 50, yOf(bar.close)}, kForeground);
            break;
        case ChartStyle::Candle:
            // The wick is blanked inside the body, so a hollow body shows no line through it.
            canvas.line({x, yOf(bar.high)}, {x, yOf(bar.low)}, kForeground);
            canvas.line({x, yOf(bar.open)}, {x, yOf(bar.close)}, kBackground);
            canvas.box({x - 15, yOf(bar.open)}, {x + 15, yOf(bar.close)}, bar.open > bar.close);
            break;
        }
        // A date every 25 bars, starting at the bar before.
        if (++sinceDate == 25) {
            sinceDate = 0;
            canvas.text({previousX, plotBottom}, label(bar));
        }
        previousX = x;
    }
    canvas.text({x - 700, plotBottom}, bars.back().date);
}

} // namespace chart
