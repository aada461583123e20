#pragma once

#include <cstdint>

namespace velloria
{

/// Where the tracks stand in a waveform view: lanes of equal height, one below the other, parted by a gap of
/// a pixel. All lengths are in the unit of `height` (logical or device pixels).
struct LaneLayout {
    double height = 0;
    int32_t numTracks = 0;
    double gap = 1;
    double padding = 4; ///< between a lane's edge and full scale

    double laneHeight() const;
    double laneTop(int32_t track) const;
    double laneBottom(int32_t track) const { return laneTop(track) + laneHeight(); }
    double laneMiddle(int32_t track) const { return laneTop(track) + laneHeight() / 2; }
    /// From silence to full scale.
    double fullScale() const;
    double yOfLevel(int32_t track, double level) const { return laneMiddle(track) - level * fullScale(); }
    /// The nearest lane; -1 without tracks.
    int32_t trackAtY(double y) const;

    bool operator==(const LaneLayout&) const = default;
};

} // namespace velloria
