#pragma once

#include <cstdint>

namespace velloria
{

/// A range of time over some tracks of a document. Times are in seconds.
struct SoundSelection {
    double startTime = 0.0;
    double endTime = 0.0;
    int32_t firstTrack = 0;
    int32_t numTracks = 0;

    double duration() const { return endTime - startTime; }

    bool operator==(const SoundSelection&) const = default;
};

/// The frame nearest to a time, halves away from zero; times that no frame number can hold are clamped.
int64_t frameAtTime(double seconds, double sampleRate);

} // namespace velloria
