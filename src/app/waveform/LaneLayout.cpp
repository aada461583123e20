#include "app/waveform/LaneLayout.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

double LaneLayout::laneHeight() const
{
    if (numTracks < 1)
        return 0;
    return std::max(0.0, (height - gap * (numTracks - 1)) / numTracks);
}

double LaneLayout::laneTop(int32_t track) const
{
    return track * (laneHeight() + gap);
}

double LaneLayout::fullScale() const
{
    return std::max(1.0, laneHeight() / 2 - padding);
}

int32_t LaneLayout::trackAtY(double y) const
{
    if (numTracks < 1)
        return -1;
    const double pitch = laneHeight() + gap;
    return std::clamp(static_cast<int32_t>(std::floor(y / pitch)), 0, numTracks - 1);
}

} // namespace velloria
