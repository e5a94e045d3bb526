#pragma once

#include "chartbars.h"

#include <QPointF>
#include <QRgb>
#include <QString>

#include <vector>

namespace chart {

// Chart geometry: what a chart of a security's whole history draws, in twips (1/1440 inch) from the
// top-left corner of the drawing area, y growing downwards. No widgets: the window scales it to device
// pixels and paints it; tests record it.

enum class ChartStyle
{
    Line,
    Bar,
    Candle,
};

const QRgb kForeground = qRgb(0, 0, 0);
const QRgb kBackground = qRgb(255, 255, 255);
const QRgb kGridColour = qRgb(230, 230, 230);

// Receives the shapes of a chart in drawing order; later shapes cover earlier ones.
class ChartCanvas
{
public:
    virtual ~ChartCanvas() = default;
    virtual void line(QPointF from, QPointF to, QRgb colour) = 0;
    // A rectangle in the foreground colour between two opposite corners, filled or only outlined.
    virtual void box(QPointF corner, QPointF opposite, bool filled) = 0;
    // Text in the drawing area's font with its top-left corner at `at`.
    virtual void text(QPointF at, const QString& text) = 0;
};

// The whole price units a chart spans: at least one unit of room above the highest high and below the
// lowest low, rounded halves to the even neighbour. `bars` must not be empty.
struct PriceRange
{
    double bottom = 0;
    double top = 0;
};

PriceRange priceRange(const std::vector<ChartBar>& bars);

// Beyond this many price units a single-precision price can no longer count whole units, and a grid
// line per unit would never end: such a range (a damaged price, in practice) stops the drawing after the
// axes, as any other fault in drawing does.
constexpr double kMaxPriceUnits = 16777216.0;

// Draws `bars` in `style` into a drawing area of `width` x `height` twips: axes, a grid line per whole
// price unit, price labels at the bottom, every tenth unit and the top, a date label every 25 bars and
// the last date. Nothing for no bars. The area itself is cleared by the caller.
void drawChart(const std::vector<ChartBar>& bars,
               ChartStyle style,
               float width,
               float height,
               const QString& dateSeparator,
               ChartCanvas& canvas);

// A date as the short labels along the bottom show it: day/month/two-digit year with the locale's
// separator ("15/1/05"). A number that is not a calendar date gives `fallback`.
QString shortDateLabel(qint32 yyyymmdd, const QString& separator, const QString& fallback);

} // namespace chart
