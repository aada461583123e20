#pragma once

#include "effects/delay/CircularBuffer.h"

#include <array>
#include <span>
#include <vector>

namespace velloria
{

/// The room around one track: six comb filters side by side, each damped by a low-pass in its loop, summed,
/// 6 ms later and mixed under the sound itself. All in single precision. It starts empty.
class ReverbUnit
{
public:
    static constexpr size_t kNumCombs = 6;

    /// The room size scales the combs' lengths, 1 being 5 to 8 ms; decay in seconds, color (the corner of the
    /// damping) in Hz, level in dB.
    ReverbUnit(float roomSize, float decay, float color, float level, float sampleRate);

    /// Another size empties the combs.
    void setRoomSize(float roomSize);
    void setLevel(float decibels);
    /// Decay is meant for what is heard, so it goes by the level and the room size, which are set first.
    void setDecay(float seconds);
    void setColor(float hertz);

    /// In place, the next samples of the track.
    void processData(std::span<float> samples);

    const CircularBuffer& combLine(size_t index) const { return mCombLines[index]; }
    const CircularBuffer& delayLine() const { return mDelayLine; }

    /// Seconds that a comb's longest loop takes.
    static double longestLoopSeconds(double roomSize);

private:
    int32_t combNumFrames(size_t index) const;
    void processRun(std::span<float> samples);

    float mSampleRate;
    float mRoomSize;
    float mLowPassCoeff = 1.0F;
    float mDelayGain = 1.0F; ///< of the reverberation in what is heard
    std::array<float, kNumCombs> mCombGains{};
    std::vector<CircularBuffer> mCombLines;
    CircularBuffer mDelayLine;
};

} // namespace velloria
