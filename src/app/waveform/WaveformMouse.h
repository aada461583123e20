#pragma once

#include <QCursor>
#include <QPointF>
#include <QTimer>
#include <cstdint>
#include <optional>

class QMouseEvent;
class QNativeGestureEvent;
class QWheelEvent;

namespace velloria
{

class WaveformContext;
class WaveformWidget;

/// What the mouse does in the waveform.
///
/// A drag selects, on all tracks; one that begins near the upper or lower edge of a lane, or with Alt held,
/// on that track only. A click puts the cue. Shift extends the selection, and so does a drag of one of its
/// edges. A double click selects everything. Ctrl switches snapping off. Near the left and right edges of the
/// view a drag scrolls. The wheel scrolls, with Ctrl it zooms around the pointer, as a pinch does.
class WaveformMouse
{
public:
    explicit WaveformMouse(WaveformWidget& widget);

    void press(const QMouseEvent& event);
    void move(const QMouseEvent& event);
    void release(const QMouseEvent& event);
    void doubleClick(const QMouseEvent& event);
    void leave();
    /// What lies under a pointer that rests has changed.
    void refresh();
    void wheel(QWheelEvent& event);
    /// True when the gesture was taken.
    bool nativeGesture(const QNativeGestureEvent& event);

    bool isDragging() const { return mIsDragging; }

private:
    struct Tracks {
        int32_t first = 0;
        int32_t count = 0;
    };
    /// What the pointer is over.
    struct Place {
        Tracks tracks;
        int32_t track = 0;
        bool isOneTrack = false;
        std::optional<double> fixedEdge; ///< over an edge of the selection: the time of the other one
    };

    Place placeAt(QPointF position, Qt::KeyboardModifiers modifiers) const;
    std::optional<double> edgeOppositeTo(QPointF position, int32_t track) const;
    double timeAt(double x, Qt::KeyboardModifiers modifiers) const;
    void dragTo(double x, Qt::KeyboardModifiers modifiers);
    void setCue(double time);
    void autoScroll();
    void showPlace(const Place& place);
    double farEdgeFrom(double time) const;

    WaveformWidget& mWidget;
    WaveformContext& mContext;
    QTimer mAutoScroll;
    bool mIsDragging = false;
    double mAnchor = 0;
    Tracks mTracks;
    int32_t mTrack = 0;
    QPointF mLastPosition;
    Qt::KeyboardModifiers mLastModifiers;
    double mPinchTime = 0;
    double mPinchZoom = 1;
    double mWheelRest = 0;
};

} // namespace velloria
