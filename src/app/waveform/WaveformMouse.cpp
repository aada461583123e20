#include "app/waveform/WaveformMouse.h"

#include "app/look/Cursors.h"
#include "app/look/TrackNames.h"
#include "app/waveform/WaveformContext.h"
#include "app/waveform/WaveformWidget.h"

#include <QCursor>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kEdgeReach = 4;       ///< pixels around an edge of the selection
constexpr double kLaneEdgeReach = 14;  ///< pixels at the top and bottom of a lane
constexpr double kLaneEdgeShare = 0.2; ///< of a low lane
constexpr int kAutoScrollMilliseconds = 16;
constexpr double kAutoScrollSpeed = 0.25; ///< pixels a step for every pixel outside
constexpr double kWheelStep = 120;        ///< eighths of a degree that a notch of a wheel turns
constexpr double kNotchesPerDoubling = 2;
constexpr double kPixelsPerNotch = 80;

bool isAltHeld(Qt::KeyboardModifiers modifiers)
{
    return modifiers.testFlag(Qt::AltModifier);
}

} // namespace

WaveformMouse::WaveformMouse(WaveformWidget& widget)
    : mWidget(widget)
    , mContext(widget.context())
{
    mAutoScroll.setInterval(kAutoScrollMilliseconds);
    QObject::connect(&mAutoScroll, &QTimer::timeout, &mWidget, [this] { autoScroll(); });
}

WaveformMouse::Place WaveformMouse::placeAt(QPointF position, Qt::KeyboardModifiers modifiers) const
{
    const LaneLayout layout = mWidget.layoutOfLanes();
    Place place;
    place.track = layout.trackAtY(position.y());
    place.tracks = {0, layout.numTracks};
    if (layout.numTracks < 1)
        return place;
    const double reach = std::min(kLaneEdgeReach, kLaneEdgeShare * layout.laneHeight());
    const bool isAtEdge = position.y() < layout.laneTop(place.track) + reach ||
                          position.y() >= layout.laneBottom(place.track) - reach;
    place.isOneTrack = layout.numTracks > 1 && (isAtEdge || isAltHeld(modifiers));
    if (place.isOneTrack)
        place.tracks = {place.track, 1};
    place.fixedEdge = edgeOppositeTo(position, place.track);
    return place;
}

std::optional<double> WaveformMouse::edgeOppositeTo(QPointF position, int32_t track) const
{
    const SoundSelection& selection = mContext.selection();
    const bool isSelected =
        track >= selection.firstTrack && track < selection.firstTrack + selection.numTracks;
    if (!isSelected || selection.endTime <= selection.startTime)
        return std::nullopt;
    const double toStart = std::abs(mContext.geometry().xAtTime(selection.startTime) - position.x());
    const double toEnd = std::abs(mContext.geometry().xAtTime(selection.endTime) - position.x());
    if (std::min(toStart, toEnd) > kEdgeReach)
        return std::nullopt;
    return toStart < toEnd ? selection.endTime : selection.startTime;
}

double WaveformMouse::timeAt(double x, Qt::KeyboardModifiers modifiers) const
{
    const double time = mContext.geometry().timeAtX(x);
    return modifiers.testFlag(Qt::ControlModifier) ? mContext.clampedTime(time)
                                                   : mContext.snappedTime(time, mTrack);
}

double WaveformMouse::farEdgeFrom(double time) const
{
    const SoundSelection& selection = mContext.selection();
    const bool isNearStart = std::abs(time - selection.startTime) < std::abs(time - selection.endTime);
    return isNearStart ? selection.endTime : selection.startTime;
}

void WaveformMouse::press(const QMouseEvent& event)
{
    if (event.button() != Qt::LeftButton || mContext.subject().numTracks() < 1)
        return;
    const Place place = placeAt(event.position(), event.modifiers());
    mTrack = place.track;
    mTracks = place.tracks;
    mIsDragging = true;
    mLastPosition = event.position();
    mLastModifiers = event.modifiers();
    const SoundSelection& selection = mContext.selection();
    const bool extends = event.modifiers().testFlag(Qt::ShiftModifier);
    if (extends || place.fixedEdge) {
        mAnchor = place.fixedEdge ? *place.fixedEdge
                                  : farEdgeFrom(mContext.geometry().timeAtX(event.position().x()));
        if (selection.numTracks > 0)
            mTracks = {selection.firstTrack, selection.numTracks};
        if (extends)
            dragTo(event.position().x(), event.modifiers());
        return;
    }
    mAnchor = timeAt(event.position().x(), event.modifiers());
    mContext.setSelectionAnchor(mAnchor);
    mContext.subject().setSelection({mAnchor, mAnchor, mTracks.first, mTracks.count});
    setCue(mAnchor);
}

void WaveformMouse::move(const QMouseEvent& event)
{
    if (!mIsDragging) {
        showPlace(placeAt(event.position(), event.modifiers()));
        return;
    }
    mLastPosition = event.position();
    mLastModifiers = event.modifiers();
    const bool isOutside = event.position().x() < 0 || event.position().x() >= mWidget.width();
    if (isOutside && !mAutoScroll.isActive())
        mAutoScroll.start();
    else if (!isOutside)
        mAutoScroll.stop();
    dragTo(event.position().x(), event.modifiers());
}

void WaveformMouse::dragTo(double x, Qt::KeyboardModifiers modifiers)
{
    const double inside = std::clamp(x, 0.0, static_cast<double>(mWidget.width()));
    const double time = timeAt(inside, modifiers);
    const double start = std::min(mAnchor, time);
    mContext.setSelectionAnchor(mAnchor);
    mContext.subject().setSelection({start, std::max(mAnchor, time), mTracks.first, mTracks.count});
    setCue(start);
}

void WaveformMouse::setCue(double time)
{
    // Selecting does not disturb what is heard; a click does, when the button is let go.
    if (!mContext.subject().isPlaying())
        mContext.subject().setCueTime(time);
}

void WaveformMouse::autoScroll()
{
    if (!mIsDragging) {
        mAutoScroll.stop();
        return;
    }
    const double x = mLastPosition.x();
    const double outside = x < 0 ? x : std::max(0.0, x - mWidget.width() + 1);
    const double step = outside * kAutoScrollSpeed;
    mContext.geometry().scrollByPixels(step < 0 ? std::floor(step) : std::ceil(step));
    dragTo(x, mLastModifiers);
}

void WaveformMouse::release(const QMouseEvent& event)
{
    if (event.button() != Qt::LeftButton)
        return;
    const bool wasClick = mIsDragging && mContext.selection().duration() <= 0.0;
    mIsDragging = false;
    mAutoScroll.stop();
    if (wasClick && mContext.subject().isPlaying())
        mContext.subject().setCueTime(mAnchor);
    showPlace(placeAt(event.position(), event.modifiers()));
}

void WaveformMouse::doubleClick(const QMouseEvent& event)
{
    if (event.button() != Qt::LeftButton || mContext.subject().numTracks() < 1)
        return;
    const Place place = placeAt(event.position(), event.modifiers());
    mIsDragging = false;
    mContext.setSelectionAnchor(0);
    mContext.subject().setSelection(
        {0, mContext.subject().totalTime(), place.tracks.first, place.tracks.count});
}

void WaveformMouse::leave()
{
    if (!mIsDragging)
        Q_EMIT mWidget.hintChanged({});
}

void WaveformMouse::refresh()
{
    if (!mIsDragging && mWidget.underMouse())
        showPlace(
            placeAt(mWidget.mapFromGlobal(QPointF(QCursor::pos())), QGuiApplication::keyboardModifiers()));
}

void WaveformMouse::showPlace(const Place& place)
{
    if (place.fixedEdge) {
        mWidget.setCursor(Qt::SizeHorCursor);
        //% "Drag to move this edge of the selection"
        Q_EMIT mWidget.hintChanged(qtTrId("waveform-hint-edge"));
    } else if (place.isOneTrack) {
        mWidget.setCursor(Cursors::selectOneTrack(mWidget.devicePixelRatioF()));
        //: %1 is the name of a track
        //% "Drag to select on %1 only"
        Q_EMIT mWidget.hintChanged(
            qtTrId("waveform-hint-track").arg(TrackNames::name(place.track, mContext.subject().numTracks())));
    } else {
        mWidget.setCursor(Qt::IBeamCursor);
        Q_EMIT mWidget.hintChanged({});
    }
}

void WaveformMouse::wheel(QWheelEvent& event)
{
    event.accept();
    WaveformViewGeometry& geometry = mContext.geometry();
    const QPoint angle = event.angleDelta();
    if (event.modifiers().testFlag(Qt::ControlModifier)) {
        const double notches = (angle.y() != 0 ? angle.y() : angle.x()) / kWheelStep;
        const double factor = std::exp2(-notches / kNotchesPerDoubling);
        geometry.setZoomKeepingPixel(geometry.zoom() * factor, event.position().x());
        return;
    }
    // The view goes sideways only, so that both directions of a wheel do.
    const QPoint pixels = event.pixelDelta();
    double distance = pixels.x() != 0 ? pixels.x() : pixels.y();
    if (pixels.isNull())
        distance = (angle.x() != 0 ? angle.x() : angle.y()) / kWheelStep * kPixelsPerNotch;
    // Positions are whole pixels; what a smooth wheel leaves over counts the next time.
    mWheelRest -= distance;
    const double step = std::trunc(mWheelRest);
    mWheelRest -= step;
    geometry.scrollByPixels(step);
}

bool WaveformMouse::nativeGesture(const QNativeGestureEvent& event)
{
    WaveformViewGeometry& geometry = mContext.geometry();
    const double x = event.position().x();
    switch (event.gestureType()) {
    case Qt::BeginNativeGesture:
        mPinchTime = geometry.timeAtX(x);
        mPinchZoom = geometry.zoom();
        return true;
    case Qt::ZoomNativeGesture:
        mPinchZoom = std::clamp(mPinchZoom / (1 + event.value()), WaveformViewGeometry::kMinZoom,
                                WaveformViewGeometry::kMaxZoom);
        geometry.setZoomKeepingTime(mPinchZoom, mPinchTime, x);
        return true;
    case Qt::EndNativeGesture:
        return true;
    default:
        return false;
    }
}

} // namespace velloria
