#pragma once

// "Chart": one security's whole price history as a line, bar or candle chart that always fits the
// window. The bars are read once, when the window is made, with a progress window that can be
// cancelled (the chart then stays empty); a change of style or size only redraws from memory.
//
// Controls (objectName and member):
//     Frame1    the style buttons, over the top left of the drawing area
//     Option1   "Line" (selected at first)     Option2  "Bar"     Option3  "Candle"
//     picChart  the drawing area: white, 90 twips from the left, 105 from the top; the window's size
//               less 350 x 600 twips
//
// The chart is computed in twips (chart/chartgeometry.h) and painted at 15 twips per pixel, times the
// screen's device pixel ratio, into an image that is kept and shown until the next change.

#include "chartimage.h"

#include <QImage>
#include <QWidget>

#include <vector>

class QGroupBox;
class QRadioButton;

namespace context {
struct AppContext;
}

namespace chart {

// The drawing area: shows the picture last drawn, pixel for pixel.
class ChartPicture : public QWidget
{
public:
    using QWidget::QWidget;

    void setPicture(QImage picture);

    const QImage& picture() const { return m_picture; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QImage m_picture;
};

class frmChart : public QWidget
{
    Q_OBJECT

public:
    // Reads the bars of the security `securitySymbol` in `dataFolder` and draws them. The caption is the
    // opener's ("Chart of " and the name); until it sets one it reads "Chart".
    frmChart(context::AppContext& context,
             const QString& dataFolder,
             const QString& securitySymbol,
             QWidget* parent = nullptr);
    ~frmChart() override;

    // Clears the drawing area and draws the bars in memory in the selected style and the area's size.
    void DrawChartSecurity();

    const std::vector<ChartBar>& bars() const { return m_bars; }

    const QString dataFolder;
    const QString securitySymbol;

    QGroupBox* Frame1;
    QRadioButton* Option1;
    QRadioButton* Option2;
    QRadioButton* Option3;
    ChartPicture* picChart;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void Form_Load();
    void Form_Resize();
    ChartStyle selectedStyle() const;

    context::AppContext& m_context;
    std::vector<ChartBar> m_bars; // empty unless every bar was read: a failed or cancelled read draws nothing
};

} // namespace chart
