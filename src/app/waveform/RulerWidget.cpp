#include "app/waveform/RulerWidget.h"

#include "app/waveform/WaveformContext.h"

#include <QContextMenuEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPolygonF>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kHeight = 26;
constexpr double kMinorTick = 4;
constexpr double kMiddleTick = 6;
constexpr double kLabelLeft = 4;

} // namespace

RulerWidget::RulerWidget(WaveformContext& context, QWidget* parent)
    : QWidget(parent)
    , mContext(context)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    //% "Time ruler"
    setAccessibleName(qtTrId("ruler-name"));
    //% "Click to place the insertion point; right-click for the units"
    setToolTip(qtTrId("ruler-tip"));
    const auto repaint = [this] { update(); };
    connect(&mContext, &WaveformContext::viewChanged, this, repaint);
    connect(&mContext, &WaveformContext::settingsChanged, this, repaint);
    connect(&mContext, &WaveformContext::themeChanged, this, repaint);
    connect(&mContext, &WaveformContext::cueChanged, this, repaint);
    connect(&mContext, &WaveformContext::documentReloaded, this, repaint);
}

QSize RulerWidget::sizeHint() const
{
    return {200, std::max(kHeight, fontMetrics().height() + 10)};
}

void RulerWidget::paintEvent(QPaintEvent*)
{
    const Theme& theme = mContext.theme();
    QPainter painter(this);
    painter.fillRect(rect(), theme.chrome);
    painter.fillRect(QRect(0, height() - 1, width(), 1), theme.separator);
    QFont labelFont = font();
    labelFont.setPointSizeF(labelFont.pointSizeF() * 0.88);
    painter.setFont(labelFont);
    const double scroll = mContext.geometry().scrollPosition();
    const double bottom = height() - 1;
    for (const RulerTile& tile : mContext.ruler().tilesInRange(scroll, scroll + width())) {
        for (const RulerTick& tick : tile.ticks) {
            const double x = std::round(tick.x - scroll);
            const bool isMiddle = std::abs(tick.x - tile.x - tile.width / 2) < 0.01 * tile.width;
            const double length = tick.isMajor ? bottom : isMiddle ? kMiddleTick : kMinorTick;
            painter.fillRect(QRectF(x, bottom - length, 1, length), theme.separator);
        }
        painter.setPen(theme.secondaryText);
        painter.drawText(
            QRectF(std::round(tile.x - scroll) + kLabelLeft, 0, tile.width, height() - kMinorTick),
            Qt::AlignLeft | Qt::AlignVCenter | Qt::TextDontClip, tile.label);
    }
    paintCue(painter);
}

void RulerWidget::paintCue(QPainter& painter) const
{
    const double x = std::round(mContext.geometry().xAtTime(mContext.cueTime())) + 0.5;
    if (x < -8 || x > width() + 8)
        return;
    const double bottom = height();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(mContext.theme().cue);
    painter.drawPolygon(QPolygonF({{x - 5, bottom - 8}, {x + 5, bottom - 8}, {x, bottom}}));
}

void RulerWidget::takePosition(const QMouseEvent& event)
{
    const double time = mContext.geometry().timeAtX(event.position().x());
    const double snapped = event.modifiers().testFlag(Qt::ControlModifier) ? mContext.clampedTime(time)
                                                                           : mContext.snappedTime(time, 0);
    if (event.modifiers().testFlag(Qt::ShiftModifier))
        mContext.extendSelectionTo(snapped);
    else
        mContext.placeCue(snapped);
}

void RulerWidget::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        takePosition(*event);
}

void RulerWidget::mouseMoveEvent(QMouseEvent* event)
{
    if (event->buttons().testFlag(Qt::LeftButton))
        takePosition(*event);
}

void RulerWidget::contextMenuEvent(QContextMenuEvent* event)
{
    Q_EMIT unitsMenuRequested(event->globalPos());
}

void RulerWidget::wheelEvent(QWheelEvent* event)
{
    // The waveform beside it knows what a wheel means.
    event->ignore();
}

} // namespace velloria
