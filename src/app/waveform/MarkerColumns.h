#pragma once

#include "document/clips/AudioMarker.h"

#include <QRect>
#include <vector>

class QColor;
class QPainter;

namespace velloria
{

class WaveformViewGeometry;

/// A marker and the pixel that it is drawn at.
struct PlacedMarker {
    AudioMarkerPtr marker;
    double x = 0;
};

/// The markers at pixels left .. right and the one before them, whose flag may reach in: one a pixel, the
/// last of those that share it, so that a hundred thousand cost no more than the view is wide. `markers` are
/// in the order of their positions.
std::vector<PlacedMarker> markersByPixel(const std::vector<AudioMarkerPtr>& markers,
                                         const WaveformViewGeometry& geometry, double left, double right);

/// Draws a line one pixel wide at each of them, from the top of `area` to its bottom; what lies beside it is
/// left out.
void paintMarkerLines(QPainter& painter, const std::vector<PlacedMarker>& placed, const QRect& area,
                      const QColor& color);

} // namespace velloria
