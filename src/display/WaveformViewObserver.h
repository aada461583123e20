#pragma once

namespace velloria
{

class WaveformViewGeometry;

/// Told what happens to a WaveformViewGeometry: the widget that draws it, its scroller, slider and read-out.
/// Called on the main thread, after the geometry took its new values (but for willScroll).
class WaveformViewObserver
{
public:
    virtual ~WaveformViewObserver() = default;

    /// A scroll position was asked for; a marker name being edited is committed here.
    virtual void willScroll(WaveformViewGeometry&) {}

    /// The scroll position changed.
    virtual void scrolled(WaveformViewGeometry&) {}

    /// The zoom changed, whoever asked for it; what was at anchorX pixels of the view stays there (the
    /// scrolling that this takes follows). Repaint here.
    virtual void didSetZoom(WaveformViewGeometry&, double /*anchorX*/) {}

    /// The view chose a zoom by itself: fitInWindow() or setRevealedStart(start, end).
    virtual void zoomDidChange(WaveformViewGeometry&) {}
};

} // namespace velloria
