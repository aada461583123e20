#include "display/TimeSnapper.h"

#include "display/WaveformViewGeometry.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kMarkerPixels = 8.0;
constexpr double kGridPixels = 16.0;
constexpr double kZeroCrossingPixels = 10.0;
constexpr double kMaxZeroCrossingSeconds = 1.0;

} // namespace

double TimeSnapper::applySnapsWithInitialTime(double time, int track, const AudioMarkerPtr& except) const
{
    if (!std::isfinite(time))
        return time;
    if (const auto marker = markerNear(time, except))
        return *marker;
    if (const auto gridLine = gridLineNear(time))
        return *gridLine;
    if (!_settings.snapsToZeroCrossings || !_nearestZeroCrossing)
        return time;
    const double within = std::min(kMaxZeroCrossingSeconds, _view.secondsFromPixels(kZeroCrossingPixels));
    return _nearestZeroCrossing(within, time, track);
}

std::optional<double> TimeSnapper::markerNear(double time, const AudioMarkerPtr& except) const
{
    if (!_settings.snapsToMarkers || !_markers)
        return std::nullopt;
    const auto timeOf = [this](const AudioMarkerPtr& marker) {
        return marker->secondsWithSampleRate(_view.sampleRate());
    };
    const auto isNear = [&](double markerTime) { return isWithinPixels(time, markerTime, kMarkerPixels); };
    // At each move of the mouse, perhaps among a hundred thousand: those that are too early are not looked
    // at.
    auto marker =
        std::partition_point(_markers->begin(), _markers->end(), [&](const AudioMarkerPtr& candidate) {
            return timeOf(candidate) < time && !isNear(timeOf(candidate));
        });
    if (marker != _markers->end() && *marker == except)
        ++marker;
    if (marker == _markers->end() || !isNear(timeOf(*marker)))
        return std::nullopt;
    return timeOf(*marker);
}

std::optional<double> TimeSnapper::gridLineNear(double time) const
{
    const double spacing = _settings.gridSpacing(_view.sampleRate());
    if (!_settings.snapsToGrid || !(spacing > 0.0))
        return std::nullopt;
    const double offset = _settings.gridOffset(_view.sampleRate());
    const double line = std::round((time - offset) / spacing) * spacing + offset;
    // A comparison with NaN (from an infinite spacing or offset) is false, so no such line is answered.
    return isWithinPixels(time, line, kGridPixels) ? std::optional(line) : std::nullopt;
}

bool TimeSnapper::isWithinPixels(double time, double target, double numPixels) const
{
    return std::fabs(_view.pixelsFromSeconds(time - target)) <= numPixels;
}

} // namespace velloria
