#pragma once

#include "chart/chartgeometry.h"

#include <QFont>
#include <QImage>
#include <QSize>

#include <vector>

namespace chart {

// Twips (1/1440 inch) per logical pixel of the screen, 96 dpi.
constexpr double kTwipsPerPixel = 15.0;

// The chart of `bars` as a picture of `size` logical pixels on a screen of `devicePixelRatio`: white,
// with lines one logical pixel wide that end before their last pixel, as the screen's own line drawing
// does, and texts in `font`. A null image for an empty size.
QImage paintChart(const std::vector<ChartBar>& bars,
                  ChartStyle style,
                  QSize size,
                  qreal devicePixelRatio,
                  const QFont& font,
                  const QString& dateSeparator);

} // namespace chart
