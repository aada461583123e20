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
/// What is to be said of samples that are computed from a range: what its frames lost in an encoding they
/// have lost, too, and what floats cannot hold of them.
StoredSamples samplesFrom(const AudioTrack& track, int64_t offset, int64_t length);
StoredSamples samplesFrom(std::span<const AudioTrackPtr> tracks);
/// The same for what is computed from both.
StoredSamples samplesFrom(const StoredSamples& some, const StoredSamples& others);

/// False when a sample is infinite or no number.
bool areFinite(std::span<const float> samples);
/// Whether a sample lies outside of -1 .. 1. NaN counts for nothing.
bool exceedFullScale(std::span<const float> samples);
/// The error of a computation whose result the scratch folder's disk has no room for; nothing when it has.
MaybeError lackOfRoom(int64_t numFrames, int64_t numTracks);
/// The error of a computation whose result is not finite.
Error notFinite();
} // namespace ComputedSound

} // namespace velloria
