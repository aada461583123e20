#pragma once

#include <optional>
#include <vector>

namespace velloria
{

class WaveformViewObserver;

/// Maps document time to the pixels of a waveform view.
///
/// Two numbers say it all: the zoom (frames per pixel) and the scroll position (whole pixels from time 0 to
/// the view's left edge). Times are seconds. "x" is a pixel of the view, 0 at its left edge; other pixels are
/// counted from time 0.
///
/// The owner keeps sampleRate, viewWidth, totalTime, selection and cue time up to date and calls
/// constrainRevealed() when the document or the view shrank. Setters refuse what makes no sense (NaN, rates
/// and zooms not above 0), so that every conversion is finite. Main thread.
class WaveformViewGeometry
{
public:
    /// The closest view shows one frame a pixel.
    static constexpr double kMinZoom = 1.0;
    static constexpr double kMaxZoom = 2097152.0;

    void addObserver(WaveformViewObserver* observer);
    void removeObserver(WaveformViewObserver* observer);

    double sampleRate() const { return _sampleRate; }
    void setSampleRate(double sampleRate);
    /// Empty pixels allowed before time 0 and after the end.
    double margin() const { return _margin; }
    void setMargin(double margin);
    double viewWidth() const { return _viewWidth; }
    void setViewWidth(double viewWidth);
    double totalTime() const { return _totalTime; }
    void setTotalTime(double totalTime);
    double scrollLineSize() const { return _scrollLineSize; }
    void setScrollLineSize(double scrollLineSize);
    /// A page is what the view shows.
    double scrollPageSize() const { return _viewWidth; }

    double selectionStart() const { return _selectionStart; }
    double selectionEnd() const { return _selectionEnd; }
    /// Takes the edges in either order.
    void setSelection(double start, double end);
    std::optional<double> cueTime() const { return _cueTime; }
    void setCueTime(std::optional<double> cueTime) { _cueTime = cueTime; }

    double pixelsFromSeconds(double seconds) const { return seconds * _sampleRate / _zoom; }
    double secondsFromPixels(double pixels) const { return pixels * _zoom / _sampleRate; }
    double timeAtX(double x) const { return secondsFromPixels(_scrollPosition + x); }
    double xAtTime(double time) const { return pixelsFromSeconds(time) - _scrollPosition; }

    double scrollPosition() const { return _scrollPosition; }
    /// Whole pixels, between the margin before time 0 and the place where the end's margin touches the right
    /// edge.
    void setScrollPosition(double position);
    void scrollByPixels(double numPixels) { setScrollPosition(_scrollPosition + numPixels); }

    double revealedStartTime() const { return secondsFromPixels(_scrollPosition); }
    double revealedEndTime() const { return secondsFromPixels(_scrollPosition + _viewWidth); }
    double minimumTime() const { return -secondsFromPixels(_margin); }
    double maximumTime() const { return _totalTime + secondsFromPixels(_margin); }

    void setRevealedStart(double time) { setScrollPosition(pixelsFromSeconds(time)); }
    /// Shows the range over the whole width, or in the middle at the closest zoom when it is too short for
    /// that.
    void setRevealedStart(double start, double end);
    /// Scrolls back from beyond the document's end.
    void constrainRevealed();
    /// Centres on the selection's start when that is out of sight.
    void revealSelection();
    void centerViewOnTime(double time);

    double zoom() const { return _zoom; }
    /// Keeps one time where it is on the screen: the selection's middle when all of it is in sight, else its
    /// edge in sight, else the cue, else the middle of the view. Within half a pixel, for scroll positions
    /// are whole, unless the ends of the document are in the way.
    void setZoom(double zoom);
    /// For the wheel: keeps the time under x.
    void setZoomKeepingPixel(double zoom, double x);
    /// For a pinch of many small steps: keeps the time that was under x at the first, so that nothing creeps.
    void setZoomKeepingTime(double zoom, double time, double x);
    /// Shows the whole document between the margins.
    void fitInWindow();

    /// The zoom before the last zoom command.
    double previousZoom() const { return _previousZoom; }
    void setPreviousZoom(double zoom);

private:
    double zoomAnchorTime() const;
    template <typename Message> void notify(Message message);

    std::vector<WaveformViewObserver*> _observers;
    double _zoom = kMinZoom;
    double _previousZoom = kMinZoom;
    double _sampleRate = 44100.0;
    double _margin = 0.0;
    double _viewWidth = 0.0;
    double _totalTime = 0.0;
    double _scrollLineSize = 10.0;
    double _scrollPosition = 0.0;
    double _selectionStart = 0.0;
    double _selectionEnd = 0.0;
    std::optional<double> _cueTime;
};

} // namespace velloria
