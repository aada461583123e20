#pragma once

#include "display/TimeFormatter.h"

#include <cstdint>

namespace velloria
{

/// Which times a mouse snaps to, and where the grid lies; the values of the preferences
/// "view.markers.snapTo", "view.grid.snapTo", "view.snapToZeroCrossings", "view.grid.spacing.value",
/// "view.grid.spacing.units", "view.grid.offset.value" and "view.grid.offset.units".
struct SnapSettings {
    /// The units of the grid's spacing; the offset knows samples and seconds only.
    enum GridUnits : int64_t { kBeatsPerMinute = 1, kSeconds = 2, kSamples = kRulerUnitsSamples };

    bool snapsToMarkers = true;
    bool snapsToGrid = false;
    bool snapsToZeroCrossings = false;
    double gridSpacingValue = 0.0;
    int64_t gridSpacingUnits = kSeconds;
    double gridOffsetValue = 0.0;
    int64_t gridOffsetUnits = kSeconds;

    /// Seconds between grid lines; 0 (no grid) for a tempo of 0. Codes that are no GridUnits mean seconds.
    double gridSpacing(double sampleRate) const;
    /// Seconds from time 0 to a grid line.
    double gridOffset(double sampleRate) const;
};

} // namespace velloria
