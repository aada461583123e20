#pragma once

#include "formats/file/AudioFile.h"

#include <cstdint>
#include <vector>

namespace velloria::AacBitRates
{

/// The bit rates that make sense for AAC of a sample rate and so many channels, in bits per second, the
/// lowest first.
std::vector<int64_t> applicable(double sampleRate, uint32_t numChannels);

/// The nearest of them to another one; the lower of two that are equally near.
int64_t closest(int64_t bitRate, double sampleRate, uint32_t numChannels);

/// The choice of bit rates for a person, with the nearest to one that was asked for.
FileOptions options(int64_t bitRate, double sampleRate, uint32_t numChannels);

} // namespace velloria::AacBitRates
