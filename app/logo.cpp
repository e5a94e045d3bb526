#include "logo.h"

#include <QPainter>

namespace app {

QPixmap drawLogo(int size)
{
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size / 64.0, size / 64.0);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0x1f, 0x3a, 0x5f));
    painter.drawRoundedRect(QRectF(2, 2, 60, 60), 10, 10);

    struct Candle
    {
        qreal x, low, high, open, close;
    };

    const Candle candles[] = {{16, 44, 54, 50, 46}, {32, 30, 46, 42, 34}, {48, 12, 32, 28, 16}};
    for (const Candle& c : candles) {
        const bool rising = c.close < c.open; // y grows downwards
        painter.setPen(QPen(Qt::white, 2));
        painter.drawLine(QPointF(c.x, c.low), QPointF(c.x, c.high));
        painter.setPen(Qt::NoPen);
        painter.setBrush(rising ? QColor(0x4c, 0xc3, 0x6b) : QColor(0xe0, 0x55, 0x4d));
        painter.drawRect(QRectF(c.x - 5, qMin(c.open, c.close), 10, qAbs(c.open - c.close)));
    }
    return pixmap;
}

} // namespace app
