#include "app/look/Chart.h"

#include "app/look/Theme.h"

#include <QPainter>
#include <algorithm>

namespace velloria
{

namespace
{

constexpr int kNameGap = 6;   ///< between a level's name and the area
constexpr int kNameBelow = 4; ///< between the area and a place's name
constexpr double kNameSpacing = 8;
constexpr double kEdge = 2;

} // namespace

Chart::Chart(const Margins& margins, const QSize& size, QWidget* parent)
    : QWidget(parent)
    , mMargins(margins)
    , mSize(size)
{
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setMinimumSize(size);
}

QRectF Chart::area() const
{
    return QRectF(rect()).adjusted(mMargins.left, mMargins.others, -mMargins.others, -mMargins.bottom);
}

void Chart::paintBackground(QPainter& painter) const
{
    painter.fillRect(area(), Theme::fromPalette(palette()).lane);
}

void Chart::paintLevelLine(QPainter& painter, double y, const QColor& line, const QString& name) const
{
    const QRectF inner = area();
    painter.setPen(QPen(line, 1));
    painter.drawLine(QPointF(inner.left(), y), QPointF(inner.right(), y));
    painter.setPen(Theme::fromPalette(palette()).secondaryText);
    painter.drawText(QRectF(0, y - 10, mMargins.left - kNameGap, 20), Qt::AlignRight | Qt::AlignVCenter,
                     name);
}

void Chart::paintPlaceLine(QPainter& painter, double x, const QColor& line) const
{
    const QRectF inner = area();
    painter.setPen(QPen(line, 1));
    painter.drawLine(QPointF(x, inner.top()), QPointF(x, inner.bottom()));
}

double Chart::paintPlaceName(QPainter& painter, double x, const QString& name, double end) const
{
    const double nameWidth = painter.fontMetrics().horizontalAdvance(name);
    const double left = std::min(x - nameWidth / 2, width() - nameWidth - kEdge);
    if (left < end + kNameSpacing)
        return end;
    painter.setPen(Theme::fromPalette(palette()).secondaryText);
    painter.drawText(QRectF(left, area().bottom() + kNameBelow, nameWidth + 1, 18),
                     Qt::AlignLeft | Qt::AlignVCenter, name);
    return left + nameWidth;
}

void Chart::paintFrame(QPainter& painter) const
{
    painter.setBrush(Qt::NoBrush);
    const Theme theme = Theme::fromPalette(palette());
    painter.setPen(QPen(hasFocus() ? palette().color(QPalette::Highlight) : theme.separator, 1));
    painter.drawRect(area());
}

void Chart::focusInEvent(QFocusEvent* event)
{
    QWidget::focusInEvent(event);
    update();
}

void Chart::focusOutEvent(QFocusEvent* event)
{
    QWidget::focusOutEvent(event);
    update();
}

} // namespace velloria
