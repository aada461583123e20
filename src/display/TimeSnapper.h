#pragma once

#include "display/SnapSettings.h"
#include "document/clips/AudioMarker.h"

#include <functional>
#include <optional>
#include <utility>

namespace velloria
{

class WaveformViewGeometry;

/// Moves a time that the mouse points at to a marker, a grid line or a zero crossing near it.
///
/// How near is told in pixels of the view, so snapping feels the same at every zoom. Does not own the view,
/// which must outlive it. Main thread.
class TimeSnapper
{
public:
    /// Answers the zero crossing of a track nearest to the time `to` and at most `within` seconds from it, or
    /// `to` when there is none.
    using ZeroCrossingSearch = std::function<double(double within, double to, int track)>;

    explicit TimeSnapper(const WaveformViewGeometry& view)
        : _view(view)
    {
    }

    void setSettings(const SnapSettings& settings) { _settings = settings; }
    /// The document's markers in the order of their positions; null stands for none.
    void setMarkers(MarkerList markers) { _markers = std::move(markers); }
    void setNearestZeroCrossing(ZeroCrossingSearch search) { _nearestZeroCrossing = std::move(search); }

    /// The first that is near enough: a marker other than `except`, then a grid line, then a zero crossing of
    /// the track; else the time.
    double applySnapsWithInitialTime(double time, int track, const AudioMarkerPtr& except = nullptr) const;

private:
    std::optional<double> markerNear(double time, const AudioMarkerPtr& except) const;
    std::optional<double> gridLineNear(double time) const;
    bool isWithinPixels(double time, double target, double numPixels) const;

    const WaveformViewGeometry& _view;
    SnapSettings _settings;
    MarkerList _markers;
    ZeroCrossingSearch _nearestZeroCrossing;
};

} // namespace velloria
