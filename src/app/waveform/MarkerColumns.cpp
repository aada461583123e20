#include "app/waveform/MarkerColumns.h"

#include "display/WaveformViewGeometry.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

std::vector<PlacedMarker> markersByPixel(const std::vector<AudioMarkerPtr>& markers,
                                         const WaveformViewGeometry& geometry, double left, double right)
{
    const auto pixelOf = [&geometry](const AudioMarkerPtr& marker) {
        return std::round(geometry.xAtTime(marker->secondsWithSampleRate(geometry.sampleRate())));
    };
    std::vector<PlacedMarker> placed;
    auto next = std::partition_point(markers.begin(), markers.end(),
                                     [&](const AudioMarkerPtr& marker) { return pixelOf(marker) < left; });
    if (next != markers.begin())
        placed.push_back({*std::prev(next), pixelOf(*std::prev(next))});
    while (next != markers.end() && pixelOf(*next) <= right) {
        const double x = pixelOf(*next);
        next = std::partition_point(next, markers.end(),
                                    [&](const AudioMarkerPtr& marker) { return pixelOf(marker) <= x; });
        placed.push_back({*std::prev(next), x});
    }
    return placed;
}

} // namespace velloria
