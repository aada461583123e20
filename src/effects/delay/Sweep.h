#pragma once

#include <span>

namespace velloria
{

/// The course of a delay that sweeps to and fro.
struct Sweep {
    bool isSine = true;
    double baseFrames = 0;
    double deviationFrames = 0;
    double secondsPerCycle = 1;
    double sampleRate = 44100;

    /// Where a line is read for the frames from number `firstFrame` on of a sound that is `phase` cycles
    /// ahead: frames from the line's mark back.
    void getPositions(double firstFrame, double phase, std::span<float> positions) const;
};

} // namespace velloria
