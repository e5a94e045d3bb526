#include "frmchart.h"

#include "context/appcontext.h"
#include "context/helpers.h"
#include "context/windowhelpers.h"
#include "store/progresswindow.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QMdiSubWindow>
#include <QPainter>
#include <QRadioButton>

#include <cmath>

namespace chart {

namespace {

int toPixels(double twips)
{
    return int(std::lround(twips / kTwipsPerPixel));
}

} // namespace

void ChartPicture::setPicture(QImage picture)
{
    m_picture = std::move(picture);
    update();
}

void ChartPicture::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), QColor(kBackground));
    painter.drawImage(QPoint(0, 0), m_picture);
}

frmChart::frmChart(context::AppContext& context, const QString& folder, const QString& symbol, QWidget* parent)
    : QWidget(parent)
    , dataFolder(folder)
    , securitySymbol(symbol)
    , Frame1(context::named(new QGroupBox(this), "Frame1"))
    , Option1(context::named(new QRadioButton(QStringLiteral("Line"), Frame1), "Option1"))
    , Option2(context::named(new QRadioButton(QStringLiteral("Bar"), Frame1), "Option2"))
    , Option3(context::named(new QRadioButton(QStringLiteral("Candle"), Frame1), "Option3"))
    , picChart(context::named(new ChartPicture(this), "picChart"))
    , m_context(context)
{
    setObjectName(QStringLiteral("frmChart"));
    setWindowTitle(QStringLiteral("Chart"));

    auto* styles = new QHBoxLayout(Frame1);
    styles->setContentsMargins(6, 2, 6, 2);
    for (QRadioButton* option : {Option1, Option2, Option3}) {
        styles->addWidget(option);
        connect(option, &QRadioButton::toggled, this, [this](bool selected) {
            if (selected)
                DrawChartSecurity();
        });
    }
    Option1->setChecked(true);

    // The drawing area is placed by hand, as the window's size decides it; the style buttons lie over it.
    picChart->setAutoFillBackground(false);
    picChart->setGeometry(toPixels(90), toPixels(105), toPixels(12165), toPixels(6255));
    Frame1->move(picChart->pos());
    Frame1->adjustSize();
    Frame1->raise();
    resize(toPixels(12165 + 350), toPixels(6255 + 600));

    Form_Load();
}

frmChart::~frmChart() = default;

void frmChart::Form_Load()
{
    // The progress window lives only while reading: whatever ends the read also takes it away.
    store::ProgressWindow progress;
    if (readChartBars(dataFolder, securitySymbol, m_context.locale, progress, m_bars) != ReadOutcome::Read) {
        m_bars.clear();
        return;
    }
    DrawChartSecurity();
}

ChartStyle frmChart::selectedStyle() const
{
    if (Option2->isChecked())
        return ChartStyle::Bar;
    if (Option3->isChecked())
        return ChartStyle::Candle;
    return ChartStyle::Line;
}

void frmChart::DrawChartSecurity()
{
    picChart->setPicture(paintChart(m_bars,
                                    selectedStyle(),
                                    picChart->size(),
                                    devicePixelRatioF(),
                                    picChart->font(),
                                    context::GetDateSeparator(m_context.locale)));
}

void frmChart::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    Form_Resize();
}

void frmChart::Form_Resize()
{
    // The margins are reckoned from the window's outer size, frame and title bar included. A window too
    // small for them keeps the drawing area's last size in that direction.
    const auto* frame = qobject_cast<const QMdiSubWindow*>(parentWidget());
    const QSize outer = frame ? frame->size() : frameGeometry().size();
    const int width = toPixels(outer.width() * kTwipsPerPixel - 350);
    const int height = toPixels(outer.height() * kTwipsPerPixel - 600);
    picChart->resize(width >= 0 ? width : picChart->width(), height >= 0 ? height : picChart->height());
    DrawChartSecurity();
}

} // namespace chart
