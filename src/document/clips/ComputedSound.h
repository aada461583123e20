#pragma once

#include "document/clips/AudioTrack.h"
#include "platform/Error.h"

#include <span>

namespace velloria
{

/// What holds for all sound that a command computes, whether it is written to scratch files at once or
/// computed as it is saved.
namespace ComputedSound
{
/// Whether some frames of a range were decoded from an encoding that loses some of the sound. What is
/// computed from them has lost it, too.
bool isFromLossySound(const AudioTrack& track, int64_t offset, int64_t length);
bool isFromLossySound(std::span<const AudioTrackPtr> tracks);

/// False when a sample is infinite or no number.
bool areFinite(std::span<const float> samples);
/// Whether a sample lies outside of -1 .. 1. NaN counts for nothing.
bool exceedFullScale(std::span<const float> samples);
/// The error of a computation whose result is not finite.
Error notFinite();
} // namespace ComputedSound

} // namespace velloria
