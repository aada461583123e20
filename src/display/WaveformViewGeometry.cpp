#include "display/WaveformViewGeometry.h"

#include "display/WaveformViewObserver.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace velloria
{

namespace
{

double clampedZoom(double zoom)
{
    return std::clamp(zoom, WaveformViewGeometry::kMinZoom, WaveformViewGeometry::kMaxZoom);
}

void setIfNotNegative(double& field, double value)
{
    if (std::isfinite(value) && value >= 0.0)
        field = value;
}

} // namespace

void WaveformViewGeometry::addObserver(WaveformViewObserver* observer)
{
    _observers.push_back(observer);
}

void WaveformViewGeometry::removeObserver(WaveformViewObserver* observer)
{
    std::erase(_observers, observer);
}

template <typename Message> void WaveformViewGeometry::notify(Message message)
{
    // A copy, so that an observer may leave while it is told.
    const auto observers = _observers;
    for (WaveformViewObserver* observer : observers)
        message(*observer);
}

void WaveformViewGeometry::setSampleRate(double sampleRate)
{
    if (std::isfinite(sampleRate) && sampleRate > 0.0)
        _sampleRate = sampleRate;
}

void WaveformViewGeometry::setMargin(double margin)
{
    setIfNotNegative(_margin, margin);
}

void WaveformViewGeometry::setViewWidth(double viewWidth)
{
    setIfNotNegative(_viewWidth, viewWidth);
}

void WaveformViewGeometry::setTotalTime(double totalTime)
{
    setIfNotNegative(_totalTime, totalTime);
}

void WaveformViewGeometry::setScrollLineSize(double scrollLineSize)
{
    setIfNotNegative(_scrollLineSize, scrollLineSize);
}

void WaveformViewGeometry::setSelection(double start, double end)
{
    if (!std::isfinite(start) || !std::isfinite(end))
        return;
    std::tie(_selectionStart, _selectionEnd) = std::minmax(start, end);
}

void WaveformViewGeometry::setPreviousZoom(double zoom)
{
    if (!std::isnan(zoom))
        _previousZoom = clampedZoom(zoom);
}

void WaveformViewGeometry::setScrollPosition(double position)
{
    if (std::isnan(position))
        return;
    notify([this](WaveformViewObserver& observer) { observer.willScroll(*this); });
    const double upper = std::ceil(pixelsFromSeconds(_totalTime) + _margin - _viewWidth);
    const double constrained = std::round(std::max(std::min(position, upper), -_margin));
    if (constrained == _scrollPosition)
        return;
    _scrollPosition = constrained;
    notify([this](WaveformViewObserver& observer) { observer.scrolled(*this); });
}

void WaveformViewGeometry::setRevealedStart(double start, double end)
{
    const double framesPerPixel = _sampleRate * (end - start) / _viewWidth;
    if (!std::isfinite(start) || !std::isfinite(framesPerPixel))
        return;
    double revealedStart = start;
    if (framesPerPixel < kMinZoom)
        revealedStart -= (_viewWidth * kMinZoom / _sampleRate - (end - start)) / 2.0;
    const double zoom = clampedZoom(framesPerPixel);
    if (zoom != _zoom) {
        setZoom(zoom);
        notify([this](WaveformViewObserver& observer) { observer.zoomDidChange(*this); });
    }
    setRevealedStart(revealedStart);
}

void WaveformViewGeometry::constrainRevealed()
{
    double start = revealedStartTime();
    const double end = revealedEndTime();
    if (maximumTime() < end)
        start = maximumTime() - (end - start);
    setRevealedStart(std::max(start, minimumTime()));
}

void WaveformViewGeometry::revealSelection()
{
    const bool isRevealed = revealedStartTime() <= _selectionStart && _selectionStart < revealedEndTime();
    if (!isRevealed)
        centerViewOnTime(_selectionStart);
}

void WaveformViewGeometry::centerViewOnTime(double time)
{
    setScrollPosition(pixelsFromSeconds(time) - _viewWidth / 2.0);
}

double WaveformViewGeometry::zoomAnchorTime() const
{
    const double start = revealedStartTime();
    const double end = revealedEndTime();
    const auto isVisible = [&](double time) { return start <= time && time <= end; };
    const bool isStartVisible = isVisible(_selectionStart);
    const bool isEndVisible = isVisible(_selectionEnd);
    if (isStartVisible && isEndVisible)
        return (_selectionStart + _selectionEnd) / 2.0;
    if (isStartVisible)
        return _selectionStart;
    if (isEndVisible)
        return _selectionEnd;
    return _cueTime && isVisible(*_cueTime) ? *_cueTime : (start + end) / 2.0;
}

void WaveformViewGeometry::setZoom(double zoom)
{
    const double anchor = zoomAnchorTime();
    setZoomKeepingTime(zoom, anchor, xAtTime(anchor));
}

void WaveformViewGeometry::setZoomKeepingPixel(double zoom, double x)
{
    setZoomKeepingTime(zoom, timeAtX(x), x);
}

void WaveformViewGeometry::setZoomKeepingTime(double zoom, double time, double x)
{
    if (std::isnan(zoom))
        return;
    const double newZoom = clampedZoom(zoom);
    if (newZoom != _zoom) {
        _zoom = newZoom;
        notify([this, x](WaveformViewObserver& observer) { observer.didSetZoom(*this, x); });
    }
    setScrollPosition(pixelsFromSeconds(time) - x);
}

void WaveformViewGeometry::fitInWindow()
{
    // A view that is all margin has no room to fit anything into; one pixel keeps the zoom finite.
    const double width = std::max(1.0, _viewWidth - 2.0 * _margin);
    setScrollPosition(-_margin);
    setZoom(_totalTime * _sampleRate / width);
    // Where even the widest zoom cannot hold the document, the anchor would leave its start out of sight.
    setScrollPosition(-_margin);
    notify([this](WaveformViewObserver& observer) { observer.zoomDidChange(*this); });
}

} // namespace velloria
