#include "display/ZoomCommands.h"

#include "display/WaveformViewGeometry.h"

#include <cmath>

namespace velloria
{

namespace
{

constexpr double kZoomOfEmptyDocument = 1024.0;
constexpr double kSelectionLengthPerMargin = 20.0;

} // namespace

void ZoomCommands::rememberZoom()
{
    _view.setPreviousZoom(_view.zoom());
}

void ZoomCommands::zoomIn()
{
    rememberZoom();
    setZoom(_view.zoom() / 2.0);
}

void ZoomCommands::zoomOut()
{
    rememberZoom();
    setZoom(_view.zoom() * 2.0);
}

void ZoomCommands::zoomTo(int64_t tag)
{
    rememberZoom();
    setZoom(tag == 0 ? 1.0 : static_cast<double>(tag));
}

void ZoomCommands::zoomToSelection()
{
    rememberZoom();
    const double start = _view.selectionStart();
    const double end = _view.selectionEnd();
    const double margin = (end - start) / kSelectionLengthPerMargin;
    _view.setRevealedStart(start - margin, end + margin);
}

void ZoomCommands::zoomToDefault(int64_t defaultZoom)
{
    rememberZoom();
    if (defaultZoom >= 1)
        setZoom(static_cast<double>(defaultZoom));
    else if (_view.totalTime() > 0.0)
        _view.fitInWindow();
    else
        setZoom(kZoomOfEmptyDocument);
}

void ZoomCommands::fitInWindow()
{
    rememberZoom();
    _view.fitInWindow();
}

void ZoomCommands::previousZoom()
{
    const double zoom = _view.previousZoom();
    rememberZoom();
    setZoom(zoom);
}

void ZoomCommands::setZoom(double zoom)
{
    _view.setZoom(zoom);
}

double ZoomCommands::zoomSliderValue() const
{
    return sliderValueForZoom(_view.zoom());
}

void ZoomCommands::setZoomSliderValue(double value)
{
    setZoom(zoomForSliderValue(value));
}

double ZoomCommands::sliderValueForZoom(double zoom)
{
    return -std::log2(zoom);
}

double ZoomCommands::zoomForSliderValue(double value)
{
    return std::exp2(-value);
}

} // namespace velloria
