#pragma once

#include "document/clips/AudioMarker.h"

#include <vector>

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

} // namespace velloria
