#pragma once

#include <cstdint>

namespace velloria
{

class WaveformViewGeometry;

/// The zoom commands of a document's window, with their history of one step.
///
/// Every command notes the present zoom as the view's previous zoom and then sets a new one; setZoom() and
/// the slider leave the history alone. Does not own the view, which must outlive it. Main thread.
class ZoomCommands
{
public:
    explicit ZoomCommands(WaveformViewGeometry& view)
        : _view(view)
    {
    }

    void zoomIn();
    void zoomOut();
    /// Frames per pixel; 0 means 1.
    void zoomTo(int64_t tag);
    /// Shows the selection with a twentieth of its length on either side.
    void zoomToSelection();
    /// defaultZoom in frames per pixel; below 1 the document is fitted, and an empty one gets 1024.
    void zoomToDefault(int64_t defaultZoom);
    void fitInWindow();
    /// Swaps the zoom and the previous zoom.
    void previousZoom();

    void setZoom(double zoom);

    /// −log2 of the zoom: up is closer, one step is a factor of 2.
    double zoomSliderValue() const;
    void setZoomSliderValue(double value);

    static double sliderValueForZoom(double zoom);
    static double zoomForSliderValue(double value);

private:
    void rememberZoom();

    WaveformViewGeometry& _view;
};

} // namespace velloria
