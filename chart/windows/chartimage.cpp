#include "chartimage.h"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace chart {

namespace {

// Draws chart shapes straight into the pixels of an RGB32 image: a redraw draws tens of thousands of
// short lines and, for wide price ranges, tens of thousands of grid lines, which a general painter
// takes far too long for. Texts are gathered and drawn with a painter at the end; they stand below
// the plot and right of it, where no other shape reaches.
class PixelCanvas : public ChartCanvas
{
public:
    PixelCanvas(QImage& image, qreal devicePixelRatio)
        : m_image(image)
        , m_scale(devicePixelRatio / kTwipsPerPixel)
        , m_thickness(std::max(1, qRound(devicePixelRatio)))
        , m_pixels(reinterpret_cast<QRgb*>(image.bits()))
        , m_pixelsPerLine(image.bytesPerLine() / qsizetype(sizeof(QRgb)))
    {}

    void line(QPointF from, QPointF to, QRgb colour) override
    {
        const QPoint a = pixel(from);
        const QPoint b = pixel(to);
        if (a == b)
            return;
        // The last pixel is left out, so that a grid line ends before the axis it runs into.
        if (a.y() == b.y()) {
            const int end = b.x() + (b.x() > a.x() ? -1 : 1);
            fill(std::min(a.x(), end), a.y(), std::max(a.x(), end), a.y(), colour);
            return;
        }
        if (a.x() == b.x()) {
            const int end = b.y() + (b.y() > a.y() ? -1 : 1);
            fill(a.x(), std::min(a.y(), end), a.x(), std::max(a.y(), end), colour);
            return;
        }
        // Any other line: Bresenham, also without the last pixel.
        const int dx = std::abs(b.x() - a.x());
        const int dy = -std::abs(b.y() - a.y());
        const int sx = a.x() < b.x() ? 1 : -1;
        const int sy = a.y() < b.y() ? 1 : -1;
        int error = dx + dy;
        for (QPoint p = a; p != b;) {
            fill(p.x(), p.y(), p.x(), p.y(), colour);
            const int twice = 2 * error;
            if (twice >= dy) {
                error += dy;
                p.rx() += sx;
            }
            if (twice <= dx) {
                error += dx;
                p.ry() += sy;
            }
        }
    }

    void box(QPointF corner, QPointF opposite, bool filled) override
    {
        const QRect rect = QRect(pixel(corner), pixel(opposite)).normalized();
        if (filled) {
            fill(rect.left(), rect.top(), rect.right(), rect.bottom(), kForeground);
            return;
        }
        fill(rect.left(), rect.top(), rect.right(), rect.top(), kForeground);
        fill(rect.left(), rect.bottom(), rect.right(), rect.bottom(), kForeground);
        fill(rect.left(), rect.top(), rect.left(), rect.bottom(), kForeground);
        fill(rect.right(), rect.top(), rect.right(), rect.bottom(), kForeground);
    }

    void text(QPointF at, const QString& text) override
    {
        m_texts.push_back({QPoint(qRound(at.x() / kTwipsPerPixel), qRound(at.y() / kTwipsPerPixel)), text});
    }

    // Draws the gathered texts, with their top-left corner at their place.
    void drawTexts(const QFont& font)
    {
        QPainter painter(&m_image);
        painter.setFont(font);
        painter.setPen(QColor(kForeground));
        const int ascent = QFontMetrics(font, &m_image).ascent();
        for (const auto& [at, text] : m_texts)
            painter.drawText(at + QPoint(0, ascent), text);
    }

private:
    QPoint pixel(QPointF twips) const { return {qRound(twips.x() * m_scale), qRound(twips.y() * m_scale)}; }

    // Fills the pixels from (left, top) to (right, bottom), both included, widened to the line
    // thickness and clipped to the image. A run the same as the one before changes no pixel and is
    // skipped: dense grids repeat the same row many times over.
    void fill(int left, int top, int right, int bottom, QRgb colour)
    {
        right += m_thickness - 1;
        bottom += m_thickness - 1;
        if (left == m_last.left() && top == m_last.top() && right == m_last.right() && bottom == m_last.bottom()
            && colour == m_lastColour)
            return;
        m_last = QRect(QPoint(left, top), QPoint(right, bottom));
        m_lastColour = colour;
        left = std::max(left, 0);
        top = std::max(top, 0);
        right = std::min(right, m_image.width() - 1);
        bottom = std::min(bottom, m_image.height() - 1);
        if (left > right || top > bottom)
            return;
        for (int y = top; y <= bottom; ++y) {
            QRgb* row = m_pixels + qsizetype(y) * m_pixelsPerLine;
            std::fill(row + left, row + right + 1, colour);
        }
    }

    QImage& m_image;
    const qreal m_scale; // device pixels per twip
    const int m_thickness; // of a line, in device pixels
    QRgb* const m_pixels;
    const qsizetype m_pixelsPerLine;
    QRect m_last;
    QRgb m_lastColour = 0;
    std::vector<std::pair<QPoint, QString>> m_texts; // top-left corner in logical pixels
};

} // namespace

QImage paintChart(const std::vector<ChartBar>& bars,
                  ChartStyle style,
                  QSize size,
                  qreal devicePixelRatio,
                  const QFont& font,
                  const QString& dateSeparator)
{
    QImage image(size * devicePixelRatio, QImage::Format_RGB32);
    if (image.isNull())
        return image;
    image.setDevicePixelRatio(devicePixelRatio);
    image.fill(kBackground);
    PixelCanvas canvas(image, devicePixelRatio);
    drawChart(bars,
              style,
              float(size.width() * kTwipsPerPixel),
              float(size.height() * kTwipsPerPixel),
              dateSeparator,
              canvas);
    canvas.drawTexts(font);
    return image;
}

} // namespace chart
