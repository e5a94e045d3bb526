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

    // The shapes of the bars themselves, neither axes, grid nor labels, at whole twips: "line x,y x,y" with
    // " white" for a blanking line, "hollow x,y x,y" and "filled x,y x,y" for candle bodies.
    QString bars() const
    {
        static const char* const kinds[] = {"line", "hollow", "filled"};
        QStringList texts;
        for (size_t i = 2; i < shapes.size(); ++i) {
            const Shape& s = shapes[i];
            if (s.kind == Shape::Text || s.colour == chart::kGridColour)
                continue;
            texts << QStringLiteral("%1 %2,%3 %4,%5%6")
                         .arg(kinds[s.kind])
                         .arg(qRound(s.from.x()))
                         .arg(qRound(s.from.y()))
                         .arg(qRound(s.to.x()))
                         .arg(qRound(s.to.y()))
                         .arg(s.colour == chart::kBackground ? " white" : "");
        }
        return texts.join(u'\n');
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
    // Sixty thousand units get a grid line each; a range too wide to count stops after the axes.
    EXPECT_EQ(draw({bar(1, 60000, 1, 1)}).of(Shape::Line, chart::kGridColour).size(), 60001u);
    EXPECT_EQ(draw({bar(1, 1e9, 1, 1)}).shapes.size(), 2u);
}

// The line's prices 99 to 101 span 98 to 102, a unit of 1439 twips; the others' 98 to 102 span 97 to
// 103, a unit of 959 twips. The line's first segment runs flat from x 10 into the first close. A bar has
// its open tick left, its close tick right. A candle's body is hollow when the close is at or above the
// open, filled when below, and the wick is blanked in white inside the body first.
TEST(ChartGeometryTest, EachStyleDrawsItsBars)
{
    EXPECT_EQ(draw({bar(100, 101, 99, 100), bar(100, 101, 99, 101)}).bars(),
              "line 10,2878 2889,2878\n"
              "line 2889,2878 5768,1439");
    EXPECT_EQ(draw({bar(100, 102, 98, 101)}, ChartStyle::Bar).bars(),
              "line 3848,959 3848,4796\n"
              "line 3848,2878 3798,2878\n"
              "line 3848,1918 3898,1918");
    EXPECT_EQ(draw({bar(100, 102, 98, 101), bar(100, 102, 98, 100), bar(101, 102, 98, 100)}, ChartStyle::Candle).bars(),
              "line 2313,959 2313,4796\n"
              "line 2313,2878 2313,1918 white\n"
              "hollow 2298,2878 2328,1918\n"
              "line 4616,959 4616,4796\n"
              "line 4616,2878 4616,2878 white\n"
              "hollow 4601,2878 4631,2878\n"
              "line 6919,959 6919,4796\n"
              "line 6919,1918 6919,2878 white\n"
              "filled 6904,1918 6934,2878");
}

// The first date at x 10, one every 25 bars starting at the bar before, and the last date as stored
// 700 twips left of the last bar.
TEST(ChartGeometryTest, DateLabelsAndTheirShortForm)
{
    // The texts on the plot's bottom line left of the price axis, at x rounded: step is 11515 / 62.
    QStringList dates;
    for (const Shape& text : draw(chart_test::bars(60), ChartStyle::Bar).of(Shape::Text)) {
        if (text.from.y() == kPlotBottom && text.from.x() < kPlotRight)
            dates << QStringLiteral("%1@%2").arg(text.text).arg(qRound(text.from.x()));
    }
    EXPECT_EQ(dates.join(u' '), "3/1/05@10 27/1/05@4467 21/2/05@9111 3/3/2005@10454");
    // Day, month and two-digit year; the stored text for what is no date.
    const auto label = [](qint32 day, const char* separator) {
        return chart::shortDateLabel(day, QLatin1String(separator), QStringLiteral("stored"));
    };
    EXPECT_EQ(QStringList({label(19991231, "."), label(20100704, ""), label(20050231, "/"), label(0, "/")}),
              QStringList({"31.12.99", "4/7/10", "stored", "stored"}));
}

} // namespace
