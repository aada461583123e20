#include "display/SnapSettings.h"

namespace velloria
{

double SnapSettings::gridSpacing(double sampleRate) const
{
    switch (gridSpacingUnits) {
    case kSamples:
        return gridSpacingValue / sampleRate;
    case kBeatsPerMinute:
        return gridSpacingValue == 0.0 ? 0.0 : 60.0 / gridSpacingValue;
    default:
        return gridSpacingValue;
    }
}

double SnapSettings::gridOffset(double sampleRate) const
{
    return gridOffsetUnits == kSamples ? gridOffsetValue / sampleRate : gridOffsetValue;
}

} // namespace velloria
