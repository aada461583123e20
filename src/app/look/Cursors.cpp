#include "app/look/Cursors.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kSize = 24;
constexpr QPoint kHotSpot(7, 12);

QPainterPath beam()
{
    QPainterPath path;
    path.moveTo(4.5, 4.5);
    path.lineTo(6, 4.5);
    path.lineTo(7, 5.5);
    path.lineTo(8, 4.5);
    path.lineTo(9.5, 4.5);
    path.moveTo(7, 5.5);
    path.lineTo(7, 18.5);
    path.moveTo(4.5, 19.5);
    path.lineTo(6, 19.5);
    path.lineTo(7, 18.5);
    path.lineTo(8, 19.5);
    path.lineTo(9.5, 19.5);
    return path;
}

void paintLanes(QPainter& painter)
{
    painter.setPen(QPen(Qt::black, 1));
    painter.setBrush(Qt::black);
    painter.drawRect(QRectF(12.5, 8.5, 8, 3));
    painter.setBrush(Qt::white);
    painter.drawRect(QRectF(12.5, 12.5, 8, 3));
}

QPixmap drawSelectOneTrack(double ratio)
{
    QPixmap pixmap(static_cast<int>(std::ceil(kSize * ratio)), static_cast<int>(std::ceil(kSize * ratio)));
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.strokePath(beam(), QPen(Qt::white, 3, Qt::SolidLine, Qt::RoundCap));
    painter.strokePath(beam(), QPen(Qt::black, 1.2));
    painter.fillRect(QRectF(11, 7, 11, 10), QColor(255, 255, 255, 200));
    paintLanes(painter);
    return pixmap;
}

} // namespace

QCursor Cursors::selectOneTrack(double devicePixelRatio)
{
    static double drawnRatio = 0;
    static QCursor cursor;
    if (drawnRatio != devicePixelRatio) {
        drawnRatio = devicePixelRatio;
        cursor = QCursor(drawSelectOneTrack(devicePixelRatio), kHotSpot.x(), kHotSpot.y());
    }
    return cursor;
}

} // namespace velloria
