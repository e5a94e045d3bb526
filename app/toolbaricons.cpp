#include "toolbaricons.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace app {

namespace {

const QColor ink(0x2b, 0x3a, 0x4a);
const QColor paper(0xfb, 0xfb, 0xf7);
const QColor accent(0x2f, 0x7d, 0xd1);
const QColor rise(0x3a, 0xa6, 0x5a);

void page(QPainter& p, qreal x, qreal y)
{
    QPainterPath shape;
    shape.moveTo(x, y);
    shape.lineTo(x + 11, y);
    shape.lineTo(x + 15, y + 4);
    shape.lineTo(x + 15, y + 18);
    shape.lineTo(x, y + 18);
    shape.closeSubpath();
    p.setBrush(paper);
    p.drawPath(shape);
}

void magnifier(QPainter& p, qreal x, qreal y)
{
    p.setBrush(QColor(0xdd, 0xee, 0xff));
    p.drawEllipse(QPointF(x, y), 5, 5);
    p.setPen(QPen(ink, 2.5, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(x + 3.5, y + 3.5), QPointF(x + 8, y + 8));
}

void draw(QPainter& p, ToolbarIcon icon)
{
    p.setPen(QPen(ink, 1.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    switch (icon) {
    case ToolbarIcon::NewSecurity:
        page(p, 4, 3);
        p.setPen(QPen(rise, 2.5, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(17, 13), QPointF(17, 21));
        p.drawLine(QPointF(13, 17), QPointF(21, 17));
        break;
    case ToolbarIcon::OpenSecurity:
        p.setBrush(QColor(0xf2, 0xc9, 0x4c));
        p.drawRect(QRectF(3, 7, 18, 13));
        p.drawLine(QPointF(3, 7), QPointF(9, 4));
        p.drawLine(QPointF(9, 4), QPointF(12, 7));
        break;
    case ToolbarIcon::FindSecurity:
        page(p, 3, 3);
        magnifier(p, 13, 12);
        break;
    case ToolbarIcon::TestReport:
        page(p, 5, 3);
        for (int line = 0; line < 4; ++line)
            p.drawLine(QPointF(8, 9 + line * 3), QPointF(16, 9 + line * 3));
        break;
    case ToolbarIcon::Download:
        p.setPen(QPen(accent, 3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.drawLine(QPointF(12, 3), QPointF(12, 15));
        p.drawLine(QPointF(7, 10), QPointF(12, 15));
        p.drawLine(QPointF(17, 10), QPointF(12, 15));
        p.setPen(QPen(ink, 2, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(4, 20), QPointF(20, 20));
        break;
    case ToolbarIcon::Convert:
        p.setPen(QPen(accent, 2.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.drawLine(QPointF(4, 8), QPointF(19, 8));
        p.drawLine(QPointF(15, 4), QPointF(19, 8));
        p.drawLine(QPointF(20, 16), QPointF(5, 16));
        p.drawLine(QPointF(9, 20), QPointF(5, 16));
        break;
    case ToolbarIcon::SymbolLookup:
        p.setFont(QFont(QStringLiteral("DejaVu Sans"), 9, QFont::Bold));
        p.drawText(QRectF(1, 2, 16, 12), Qt::AlignCenter, QStringLiteral("AB"));
        magnifier(p, 12, 14);
        break;
    case ToolbarIcon::Settings:
        p.setBrush(QColor(0xc8, 0xcf, 0xd8));
        for (int tooth = 0; tooth < 8; ++tooth) {
            p.save();
            p.translate(12, 12);
            p.rotate(tooth * 45);
            p.drawRect(QRectF(-1.8, -10, 3.6, 4));
            p.restore();
        }
        p.drawEllipse(QPointF(12, 12), 6.5, 6.5);
        p.setBrush(paper);
        p.drawEllipse(QPointF(12, 12), 2.5, 2.5);
        break;
    case ToolbarIcon::Help:
        p.setBrush(accent);
        p.setPen(Qt::NoPen);
        p.drawEllipse(QPointF(12, 12), 10, 10);
        p.setPen(Qt::white);
        p.setFont(QFont(QStringLiteral("DejaVu Sans"), 12, QFont::Bold));
        p.drawText(QRectF(2, 2, 20, 20), Qt::AlignCenter, QStringLiteral("?"));
        break;
    case ToolbarIcon::Copy:
        page(p, 3, 2);
        page(p, 8, 5);
        break;
    }
}

} // namespace

QIcon toolbarIcon(ToolbarIcon icon)
{
    QIcon result;
    for (const int size : {24, 48}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(size / 24.0, size / 24.0);
        draw(painter, icon);
        painter.end();
        result.addPixmap(pixmap);
    }
    return result;
}

} // namespace app
