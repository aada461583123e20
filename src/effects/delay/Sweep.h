#pragma once

#include "effects/delay/InterpolationTaps.h"

#include <array>
#include <span>

namespace velloria
{

/// The course of a delay that sweeps to and fro.
class Sweep
{
public:
    struct Shape {
        bool isSine = true;
        double baseFrames = 0;
        double deviationFrames = 0;
        double secondsPerCycle = 1;
        double sampleRate = 44100;
    };

    explicit Sweep(const Shape& shape);

    /// Where a line is read for the frames from number `firstFrame` on of a sound that is `phase` cycles
    /// ahead: frames from the line's mark back; no more than InterpolationTaps::kMostReads.
    void getPositions(double firstFrame, double phase, std::span<float> positions) const;

private:
    double cyclesUntil(double frame) const { return (frame / mShape.sampleRate) * mCyclesPerSecond; }

    Shape mShape;
    double mCyclesPerSecond;
    // Of a sine: cosine and sine of the way from a frame to those behind it.
    std::array<double, InterpolationTaps::kMostReads> mCosines;
    std::array<double, InterpolationTaps::kMostReads> mSines;
};

} // namespace velloria
