#pragma once

#include "document/clips/AudioMarker.h"

#include <span>
#include <vector>

namespace velloria
{

/// Where markers are put in bulk. Pure arithmetic.
namespace MarkerPlacement
{
/// Seconds that one peak stands for.
constexpr double secondsPerBin = 0.1;

/// One marker, "01", "02", ..., 0.2 seconds before every loud bin that 1.9 seconds of quiet (or the start of
/// the sound) precede. `peaks` are magnitudes, one a bin; loud is 2^-5 and more.
std::vector<AudioMarkerPtr> atLoudPassages(std::span<const float> peaks, double sampleRate);

/// How many grid lines lie from 0 on and before `totalTime`; 0 for a spacing that is not above 0.
int64_t numGridLines(double offset, double spacing, double totalTime);

/// A marker at each of them, "001-1", "001-2" and so on: bars of four beats.
std::vector<AudioMarkerPtr> atGridLines(double offset, double spacing, double totalTime, double sampleRate);
} // namespace MarkerPlacement

} // namespace velloria
