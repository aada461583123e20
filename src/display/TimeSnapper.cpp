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

double TimeSnapper::applySnapsWithInitialTime(double time, int track) const
{
    if (!std::isfinite(time))
        return time;
    if (const auto marker = markerNear(time))
        return *marker;
    if (const auto gridLine = gridLineNear(time))
        return *gridLine;
    if (!_settings.snapsToZeroCrossings || !_nearestZeroCrossing)
        return time;
    const double within = std::min(kMaxZeroCrossingSeconds, _view.secondsFromPixels(kZeroCrossingPixels));
    return _nearestZeroCrossing(within, time, track);
}

std::optional<double> TimeSnapper::markerNear(double time) const
{
    if (!_settings.snapsToMarkers)
        return std::nullopt;
    for (const int64_t position : _markerPositions) {
        const double markerTime = static_cast<double>(position) / _view.sampleRate();
        if (isWithinPixels(time, markerTime, kMarkerPixels))
            return markerTime;
    }
    return std::nullopt;
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
