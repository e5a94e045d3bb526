#include "chart/chartbars.h"
#include "chart/windows/frmchart.h"
#include "charttest.h"
#include "testcontext.h"

#include <QApplication>
#include <QProgressDialog>
#include <QRadioButton>
#include <QTimer>

#include <gtest/gtest.h>

using chart::ChartBar;
using testing_support::TestContext;

namespace {

const QLocale kEnglish(QLocale::English, QLocale::UnitedStates);

// Prices come back rounded to cents, volumes to whole numbers with halves to the even neighbour, dates
// as the locale's short date; the progress window goes with its owner. Cancel in the progress window, as
// soon as it shows, ends the read after the bar being read and closes the window.
TEST(ReadChartBarsTest, ReadsEveryBarRoundedUnlessCancelled)
{
    TestContext context;
    const QString folder = context.makeFolder("data");
    chart_test::writeSecurity(folder,
                              std::vector<store::PriceBar>{{20050103, 0, 10.004, 10.5, 9.996, 10.125, 1500.5, 0},
                                                           {20050104, 0, 11, 12, 10, 11, 2500.5, 0}});
    store::ProgressWindow silent(store::ProgressWindow::Display::Silent);
    std::vector<ChartBar> bars;
    ASSERT_EQ(chart::readChartBars(" " + folder + " ", " x ", kEnglish, silent, bars), chart::ReadOutcome::Read);
    ASSERT_EQ(bars.size(), 2u);
    const ChartBar& first = bars[0];
    EXPECT_EQ(QStringList({first.date,
                           QString::number(first.yyyymmdd),
                           QString::number(first.open),
                           QString::number(first.low),
                           QString::number(first.close),
                           QString::number(first.volume),
                           QString::number(bars[1].volume)}),
              QStringList({"1/3/2005", "20050103", "10", "10", "10.13", "1500", "2500"}));
    EXPECT_TRUE(silent.state().value == 2 && silent.state().visible);

    const QString longer = context.makeFolder("longer");
    chart_test::writeSecurity(longer, chart_test::bars(50));
    store::ProgressWindow shown(store::ProgressWindow::Display::Window);
    QTimer::singleShot(0, [] {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (auto* dialog = qobject_cast<QProgressDialog*>(window))
                dialog->cancel();
        }
    });
    bars.clear();
    EXPECT_EQ(chart::readChartBars(longer, "X", kEnglish, shown, bars), chart::ReadOutcome::Cancelled);
    EXPECT_LT(bars.size(), 50u);
    EXPECT_FALSE(shown.state().visible);
}

class ChartWindowTest : public ::testing::Test
{
protected:
    QString folderWith(const std::vector<ChartBar>& bars)
    {
        const QString folder = context.makeFolder(QStringLiteral("data%1").arg(++m_folders));
        chart_test::writeSecurity(folder, bars);
        return folder;
    }

    // How many pixels of the picture are not white.
    static int inked(const QImage& picture)
    {
        int count = 0;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x)
                count += picture.pixel(x, y) != chart::kBackground;
        }
        return count;
    }

    TestContext context;

private:
    int m_folders = 0;
};

// Each style draws on its button, and the first again when it is chosen again. Nothing to read leaves
// every style white; one bar, prices below one and sixty bars draw in each, with the price axis whole:
// the grid lines stop short of it.
TEST_F(ChartWindowTest, DrawsEachStyleOnItsButton)
{
    const std::pair<QString, size_t> cases[] = {{folderWith({}), 0},
                                                {context.makeFolder("empty") + "/missing", 0},
                                                {folderWith(chart_test::bars(1)), 1},
                                                {folderWith(chart_test::bars(5, 0.5, 0.9)), 5},
                                                {folderWith(chart_test::bars(60)), 60}};
    for (const auto& [folder, bars] : cases) {
        chart::frmChart window(context, folder, "X");
        window.show();
        EXPECT_EQ(window.bars().size(), bars) << folder.toStdString();
        EXPECT_TRUE(window.Option1->isChecked());
        QList<QImage> pictures{window.picChart->picture()};
        for (QRadioButton* option : {window.Option2, window.Option3, window.Option1}) {
            option->click();
            pictures << window.picChart->picture();
        }
        for (const QImage& picture : pictures) {
            EXPECT_EQ(picture.size(), window.picChart->size());
            EXPECT_TRUE(bars ? inked(picture) > 100 : inked(picture) == 0) << folder.toStdString();
            const int axis = int(std::lround(picture.width() - 650 / chart::kTwipsPerPixel));
            for (int y = 0; bars && y < picture.height(); ++y)
                ASSERT_EQ(picture.pixel(axis, y), chart::kForeground) << folder.toStdString() << " row " << y;
        }
        EXPECT_TRUE(!bars || (pictures[0] != pictures[1] && pictures[1] != pictures[2])) << folder.toStdString();
        EXPECT_EQ(pictures[3], pictures[0]);
    }
}

// The drawing area is the window less 350 x 600 twips; a window smaller than that keeps the area's size.
TEST_F(ChartWindowTest, FollowsTheWindowsSize)
{
    chart::frmChart window(context, folderWith(chart_test::bars(30)), "X");
    window.resize(600, 400);
    window.show();
    // The window's outer size, frame included, less the margins.
    const auto area = [&window](int width, int height) {
        const QSize frame = window.frameGeometry().size() - window.size();
        return QSize(width + frame.width() - 23, height + frame.height() - 40);
    };
    EXPECT_EQ(window.picChart->size(), area(600, 400));
    EXPECT_EQ(window.picChart->picture().size(), area(600, 400));
    window.resize(10, 10);
    EXPECT_EQ(window.picChart->size(), area(600, 400));
    window.resize(10, 300);
    EXPECT_EQ(window.picChart->size(), QSize(area(600, 400).width(), area(10, 300).height()));
}

// On a screen of twice the density the picture has twice the pixels each way and its lines are two
// pixels wide, so the chart looks as it does at 96 dpi, only sharper.
TEST(PaintChartTest, HighDensityScreens)
{
    const std::vector<ChartBar> bars = chart_test::bars(10);
    const QImage single = chart::paintChart(bars, chart::ChartStyle::Bar, QSize(400, 300), 1, QFont(), "/");
    const QImage twice = chart::paintChart(bars, chart::ChartStyle::Bar, QSize(400, 300), 2, QFont(), "/");
    EXPECT_EQ(twice.size(), QSize(800, 600));
    EXPECT_EQ(twice.devicePixelRatio(), 2);
    // The horizontal axis: one row at 96 dpi, two rows below each other at twice the density.
    const int axis = int(std::lround(300 - 500 / chart::kTwipsPerPixel));
    EXPECT_EQ(single.pixel(5, axis), chart::kForeground);
    EXPECT_NE(single.pixel(5, axis + 1), chart::kForeground);
    const int deviceAxis = int(std::lround((300 - 500 / chart::kTwipsPerPixel) * 2));
    EXPECT_EQ(twice.pixel(10, deviceAxis), chart::kForeground);
    EXPECT_EQ(twice.pixel(10, deviceAxis + 1), chart::kForeground);
    EXPECT_NE(twice.pixel(10, deviceAxis + 2), chart::kForeground);
    EXPECT_TRUE(chart::paintChart(bars, chart::ChartStyle::Line, QSize(0, 300), 1, QFont(), "/").isNull());
}

} // namespace
