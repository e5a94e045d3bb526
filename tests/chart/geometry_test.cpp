#include "chart/chartgeometry.h"
#include "charttest.h"

#include <QLineF>
#include <QRectF>

#include <gtest/gtest.h>

#include <ostream>

using chart::ChartBar;
using chart::ChartStyle;

namespace {

// A drawing area of 12165 x 6255 twips: the plot ends at x 11515 and y 5755.
constexpr float kWidth = 12165;
constexpr float kHeight = 6255;
constexpr float kPlotRight = kWidth - 650;
constexpr float kPlotBottom = kHeight - 500;

struct Shape
{
    enum Kind
    {
        Line,
        HollowBox,
        FilledBox,
        Text,
    } kind;

    QPointF from;
    QPointF to;
    QRgb colour = chart::kForeground;
    QString text;
};

class RecordingCanvas : public chart::ChartCanvas
{
public:
    void line(QPointF from, QPointF to, QRgb colour) override { shapes.push_back({Shape::Line, from, to, colour, {}}); }

    void box(QPointF corner, QPointF opposite, bool filled) override
    {
        shapes.push_back({filled ? Shape::FilledBox : Shape::HollowBox, corner, opposite, chart::kForeground, {}});
    }

    void text(QPointF at, const QString& text) override { shapes.push_back({Shape::Text, at, at, 0, text}); }

    std::vector<Shape> of(Shape::Kind kind, QRgb colour = chart::kForeground) const
    {
        std::vector<Shape> found;
        for (const Shape& shape : shapes) {
            if (shape.kind == kind && (kind == Shape::Text || shape.colour == colour))
                found.push_back(shape);
        }
        return found;
    }

    std::vector<Shape> shapes;
};

RecordingCanvas draw(const std::vector<ChartBar>& bars, ChartStyle style = ChartStyle::Line)
{
    RecordingCanvas canvas;
    chart::drawChart(bars, style, kWidth, kHeight, QStringLiteral("/"), canvas);
    return canvas;
}

ChartBar bar(double open, double high, double low, double close)
{
    return {QStringLiteral("1/3/2005"), 20050103, open, high, low, close, 0};
}

// A whole unit above and below: prices below one, equal high and low, halves to the even neighbour.
TEST(ChartGeometryTest, PriceRangeLeavesAWholeUnitAboveAndBelow)
{
    QList<double> ends;
    for (const auto& [low, high] : {std::pair(0.5, 0.9), std::pair(10.0, 10.0), std::pair(1.5, 2.5)}) {
        const chart::PriceRange range = chart::priceRange({bar(low, high, low, low), bar(low, low, low, low)});
        ends << range.bottom << range.top;
    }
    EXPECT_EQ(ends, QList<double>({-1, 2, 9, 11, 1, 3}));
    EXPECT_TRUE(draw({}).shapes.empty());
}

// Prices 99 to 130 span 98 to 131: a grey grid line per unit above the bottom, labels at the bottom,
// every tenth unit and the top, each at the axis and the height of its price.
TEST(ChartGeometryTest, GridAndPriceLabels)
{
    const RecordingCanvas canvas = draw(chart_test::bars(3));
    const std::vector<Shape> axes = canvas.of(Shape::Line);
    ASSERT_GE(axes.size(), 2u);
    EXPECT_EQ(QLineF(axes[0].from, axes[0].to), QLineF(0, kPlotBottom, kWidth, kPlotBottom));
    EXPECT_EQ(QLineF(axes[1].from, axes[1].to), QLineF(kPlotRight, 0, kPlotRight, kHeight));
    const float unit = kPlotBottom / 33;
    const std::vector<Shape> grid = canvas.of(Shape::Line, chart::kGridColour);
    ASSERT_EQ(grid.size(), 33u);
    EXPECT_EQ(grid.front().from.x(), 0);
    EXPECT_EQ(grid.front().to.x(), kPlotRight);
    EXPECT_NEAR(grid.front().from.y(), kPlotBottom - unit, 0.01);
    EXPECT_NEAR(grid.back().from.y(), 0, 0.05);
    QStringList prices;
    for (const Shape& text : canvas.of(Shape::Text)) {
        if (text.from.x() == kPlotRight) {
            prices.append(text.text.trimmed());
            EXPECT_NEAR(text.from.y(), kPlotBottom - (text.text.toDouble() - 98) * unit, 0.05) << qPrintable(text.text);
        }
    }
    EXPECT_EQ(prices, QStringList({"98", "108", "118", "128", "131"}));
}

// Sixty thousand units get a grid line each; a range too wide to count stops after the axes.
TEST(ChartGeometryTest, GridOfWideRanges)
{
    EXPECT_EQ(draw({bar(1, 60000, 1, 1)}).of(Shape::Line, chart::kGridColour).size(), 60001u);
    EXPECT_EQ(draw({bar(1, 1e9, 1, 1)}).shapes.size(), 2u);
}

// The first segment runs flat from x 10 into the first close; the next one climbs to the second close.
TEST(ChartGeometryTest, LineStartsWithAFlatSegment)
{
    const RecordingCanvas canvas = draw({bar(100, 101, 99, 100), bar(100, 101, 99, 101)});
    const std::vector<Shape> lines = canvas.of(Shape::Line);
    ASSERT_EQ(lines.size(), 4u);
    const float step = kPlotRight / 4;
    const float unit = kPlotBottom / 4; // 98 to 102
    EXPECT_EQ(lines[2].from, QPointF(10, lines[2].to.y()));
    EXPECT_FLOAT_EQ(lines[2].to.x(), 10 + step);
    EXPECT_NEAR(lines[2].to.y(), kPlotBottom - 2 * unit, 0.01);
    EXPECT_EQ(lines[3].from, lines[2].to);
    EXPECT_NEAR(lines[3].to.y(), kPlotBottom - 3 * unit, 0.01);
}

TEST(ChartGeometryTest, BarHasOpenTickLeftAndCloseTickRight)
{
    const RecordingCanvas canvas = draw({bar(100, 102, 98, 101)}, ChartStyle::Bar);
    const std::vector<Shape> lines = canvas.of(Shape::Line);
    ASSERT_EQ(lines.size(), 5u);
    const float x = 10 + kPlotRight / 3;
    EXPECT_TRUE(lines[2].from.x() == x && lines[2].to.x() == x);
    EXPECT_LT(lines[2].from.y(), lines[2].to.y()); // high above low
    EXPECT_TRUE(lines[3].to.x() == x - 50 && lines[4].to.x() == x + 50);
    EXPECT_LT(lines[4].from.y(), lines[3].from.y()); // close above open
}

// A body is hollow when the close is at or above the open, filled when below; the wick is blanked in white
// inside the body first.
TEST(ChartGeometryTest, CandleBodies)
{
    const RecordingCanvas canvas =
        draw({bar(100, 102, 98, 101), bar(100, 102, 98, 100), bar(101, 102, 98, 100)}, ChartStyle::Candle);
    EXPECT_EQ(canvas.of(Shape::HollowBox).size(), 2u);
    ASSERT_EQ(canvas.of(Shape::FilledBox).size(), 1u);
    const Shape filled = canvas.of(Shape::FilledBox).front();
    EXPECT_EQ(filled.to.x() - filled.from.x(), 30);
    EXPECT_EQ(canvas.of(Shape::Line, chart::kBackground).size(), 3u);
    const std::vector<Shape>& shapes = canvas.shapes;
    const auto blank = std::find_if(shapes.begin(), shapes.end(), [](const Shape& s) {
        return s.kind == Shape::Line && s.colour == chart::kBackground;
    });
    EXPECT_EQ((blank - 1)->colour, chart::kForeground); // the wick
    EXPECT_EQ((blank + 1)->kind, Shape::HollowBox);
}

// The first date at x 10, one every 25 bars starting at the bar before, and the last date as stored
// 700 twips left of the last bar.
TEST(ChartGeometryTest, DateLabels)
{
    // The texts on the plot's bottom line left of the price axis, at x rounded: step is 11515 / 62.
    QStringList dates;
    for (const Shape& text : draw(chart_test::bars(60), ChartStyle::Bar).of(Shape::Text)) {
        if (text.from.y() == kPlotBottom && text.from.x() < kPlotRight)
            dates << QStringLiteral("%1@%2").arg(text.text).arg(qRound(text.from.x()));
    }
    EXPECT_EQ(dates.join(u' '), "3/1/05@10 27/1/05@4467 21/2/05@9111 3/3/2005@10454");
}

// Day, month and two-digit year; the stored text for what is no date.
TEST(ChartGeometryTest, ShortDateLabels)
{
    const auto label = [](qint32 day, const char* separator) {
        return chart::shortDateLabel(day, QLatin1String(separator), QStringLiteral("stored"));
    };
    EXPECT_EQ(QStringList({label(19991231, "."), label(20100704, ""), label(20050231, "/"), label(0, "/")}),
              QStringList({"31.12.99", "4/7/10", "stored", "stored"}));
}

} // namespace
