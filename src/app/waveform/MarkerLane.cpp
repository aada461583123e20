#include "app/waveform/MarkerLane.h"

#include "app/look/ItemNames.h"
#include "app/preferences/Settings.h"
#include "app/waveform/MarkerColumns.h"
#include "app/waveform/WaveformContext.h"
#include "display/TimeFormatter.h"
#include "platform/UserDefaults.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QShortcut>
#include <QToolTip>
#include <algorithm>
#include <cmath>
#include <utility>

namespace velloria
{

namespace
{

constexpr double kPadding = 6;
constexpr double kFlagGap = 2;
constexpr double kMinFlagWidth = 5;
constexpr double kLeftReach = 3;
constexpr double kFarAway = 1e6;
// More than a flag could show; what comes behind it need not be measured at each repaint.
constexpr qsizetype kMostCharacters = 400;

QString shownName(const AudioMarkerPtr& marker)
{
    return ItemNames::shown(marker->name(), kMostCharacters);
}

} // namespace

MarkerLane::MarkerLane(WaveformContext& context, QWidget* parent)
    : QWidget(parent)
    , mContext(context)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    //% "Markers"
    setAccessibleName(qtTrId("marker-lane-name"));
    const auto repaint = [this] { update(); };
    connect(&mContext, &WaveformContext::viewChanged, this, repaint);
    connect(&mContext, &WaveformContext::themeChanged, this, repaint);
    connect(&mContext, &WaveformContext::markersChanged, this, &MarkerLane::reload);
    connect(&mContext, &WaveformContext::settingsChanged, this, &MarkerLane::reload);
    reload();
}

QSize MarkerLane::sizeHint() const
{
    return {200, fontMetrics().height() + 6};
}

void MarkerLane::reload()
{
    mMarkers = mContext.subject().markers();
    setVisible(!mMarkers->empty() && UserDefaults::standard().boolValue(Settings::showsMarkers));
    update();
}

double MarkerLane::timeOf(const AudioMarkerPtr& marker) const
{
    if (mDragTime && marker == mPressed)
        return *mDragTime;
    return marker->secondsWithSampleRate(mContext.subject().sampleRate());
}

bool MarkerLane::isLocked() const
{
    return UserDefaults::standard().boolValue(Settings::locksMarkers);
}

std::vector<MarkerLane::Flag> MarkerLane::visibleFlags() const
{
    const QFontMetricsF metrics(font());
    const auto widthIn = [&metrics](const AudioMarkerPtr& marker, double room) {
        // A name is measured only where some of it can be seen.
        if (room <= kMinFlagWidth)
            return kMinFlagWidth;
        return std::min(room, metrics.horizontalAdvance(shownName(marker)) + 2 * kPadding);
    };
    std::vector<PlacedMarker> placed = markersByPixel(*mMarkers, mContext.geometry(), 0, width());
    const bool isDragging = mDragTime.has_value();
    std::erase_if(placed, [&](const PlacedMarker& each) { return isDragging && each.marker == mPressed; });
    std::vector<Flag> flags;
    for (size_t i = 0; i < placed.size(); ++i) {
        const double next = i + 1 < placed.size() ? placed[i + 1].x : kFarAway;
        flags.push_back(
            {placed[i].marker, placed[i].x, widthIn(placed[i].marker, next - placed[i].x - kFlagGap)});
    }
    // What is dragged lies above the others.
    if (isDragging)
        flags.push_back(
            {mPressed, std::round(mContext.geometry().xAtTime(*mDragTime)), widthIn(mPressed, kFarAway)});
    return flags;
}

void MarkerLane::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), mContext.theme().chrome);
    painter.fillRect(QRect(0, height() - 1, width(), 1), mContext.theme().separator);
    for (const Flag& flag : visibleFlags())
        paintFlag(painter, flag);
}

void MarkerLane::paintFlag(QPainter& painter, const Flag& flag) const
{
    const Theme& theme = mContext.theme();
    QColor fill = theme.marker;
    fill.setAlpha(theme.isDark ? 60 : 46);
    const QRectF area(flag.x, 2, flag.width, height() - 3);
    painter.fillRect(area, fill);
    painter.fillRect(QRectF(flag.x, 2, 2, height() - 2), theme.marker);
    const QRectF text = area.adjusted(kPadding, 0, -2, 0);
    if (text.width() < 6)
        return;
    painter.setPen(theme.text);
    painter.drawText(
        text, Qt::AlignLeft | Qt::AlignVCenter,
        QFontMetricsF(font()).elidedText(shownName(flag.marker), Qt::ElideRight, text.width() + 1));
}

AudioMarkerPtr MarkerLane::markerAt(double x) const
{
    const std::vector<Flag> flags = visibleFlags();
    for (auto flag = flags.rbegin(); flag != flags.rend(); ++flag) {
        if (x >= flag->x - kLeftReach && x <= flag->x + flag->width)
            return flag->marker;
    }
    return nullptr;
}

bool MarkerLane::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    const auto* const help = static_cast<QHelpEvent*>(event);
    if (const AudioMarkerPtr marker = markerAt(help->pos().x())) {
        TimeFormatter formatter;
        formatter.setSampleRate(mContext.subject().sampleRate());
        formatter.setUnits(mContext.ruler().units());
        //: A marker's tool tip: its name and its time
        //% "%1 at %2"
        QToolTip::showText(
            help->globalPos(),
            qtTrId("marker-tip")
                .arg(ItemNames::shown(marker->name()), formatter.stringForObjectValue(timeOf(marker))),
            this);
    } else {
        QToolTip::hideText();
    }
    return true;
}

void MarkerLane::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    mPressed = markerAt(event->position().x());
    mPressX = event->position().x();
    mDragTime.reset();
    if (mPressed)
        mContext.placeCue(timeOf(mPressed));
}

void MarkerLane::mouseMoveEvent(QMouseEvent* event)
{
    if (mPressed && !isLocked() &&
        (mDragTime || std::abs(event->position().x() - mPressX) >= QApplication::startDragDistance()))
        dragTo(*event);
}

void MarkerLane::dragTo(const QMouseEvent& event)
{
    const double grabbed = mPressed->secondsWithSampleRate(mContext.subject().sampleRate());
    const WaveformViewGeometry& geometry = mContext.geometry();
    const double time = grabbed + geometry.secondsFromPixels(event.position().x() - mPressX);
    mDragTime = event.modifiers().testFlag(Qt::ControlModifier) ? mContext.clampedTime(time)
                                                                : mContext.snappedMarkerTime(time, mPressed);
    update();
}

void MarkerLane::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const AudioMarkerPtr marker = std::move(mPressed);
    const std::optional<double> time = std::exchange(mDragTime, std::nullopt);
    mPressed = nullptr;
    if (marker && time)
        mContext.subject().setMarkerPosition(marker, frameAtTime(*time, mContext.subject().sampleRate()));
    update();
}

void MarkerLane::contextMenuEvent(QContextMenuEvent* event)
{
    const AudioMarkerPtr marker = markerAt(event->pos().x());
    if (!marker)
        return;
    QMenu menu(this);
    //% "Rename"
    menu.addAction(qtTrId("marker-rename"), this, [this, marker] { rename(marker); });
    //% "Delete"
    menu.addAction(qtTrId("marker-delete"), this, [this, marker] { mContext.subject().removeMarker(marker); })
        ->setEnabled(!isLocked());
    menu.exec(event->globalPos());
}

void MarkerLane::rename(const AudioMarkerPtr& marker)
{
    constexpr int fieldWidth = 160;
    auto* const field = new QLineEdit(marker->name(), this);
    field->setAccessibleName(qtTrId("marker-rename"));
    const auto x = static_cast<int>(mContext.geometry().xAtTime(timeOf(marker)));
    field->setGeometry(std::clamp(x, 0, std::max(0, width() - fieldWidth)), 0, fieldWidth, height());
    field->selectAll();
    field->show();
    field->setFocus();
    connect(field, &QLineEdit::editingFinished, this, [this, field, marker] {
        // Hiding a field that has the focus ends its editing once more.
        field->disconnect(this);
        field->deleteLater();
        mContext.subject().setMarkerName(marker, field->text());
    });
    auto* const giveUp = new QShortcut(Qt::Key_Escape, field);
    giveUp->setContext(Qt::WidgetShortcut);
    connect(giveUp, &QShortcut::activated, field, [this, field] {
        field->disconnect(this);
        field->deleteLater();
    });
    // What moves under the field ends the editing, and keeps what was typed.
    connect(&mContext, &WaveformContext::viewChanged, field, [field] { field->clearFocus(); });
}

void MarkerLane::mouseDoubleClickEvent(QMouseEvent* event)
{
    const AudioMarkerPtr marker = markerAt(event->position().x());
    if (!marker)
        return;
    const auto next = std::upper_bound(
        mMarkers->begin(), mMarkers->end(), marker->position(),
        [](int64_t position, const AudioMarkerPtr& other) { return position < other->position(); });
    const double end = next == mMarkers->end() ? mContext.subject().totalTime() : timeOf(*next);
    mContext.placeCue(timeOf(marker));
    mContext.subject().setSelection({timeOf(marker), end, 0, mContext.subject().numTracks()});
}

} // namespace velloria
