#pragma once

#include "Classes/CoreAudio/DataSource.h"

#include <atomic>

namespace velloria
{

/// Puts the sound before an effect in the place of the sound behind it, as loud as that, so that the ear
/// judges the difference and not the level. A change fades over 10 ms. One thread, but for setBypassed().
class LevelMatchedBypass
{
public:
    explicit LevelMatchedBypass(double sampleRate)
        : mSampleRate(sampleRate)
    {
    }

    void setBypassed(bool isBypassed) { mIsBypassed.store(isBypassed, std::memory_order_relaxed); }
    bool isBypassed() const { return mIsBypassed.load(std::memory_order_relaxed); }

    /// `wet` becomes what is heard. Both have the same channels and lengths.
    void process(SampleBlock& wet, const SampleBlock& dry);

private:
    float levelledGain(const SampleBlock& wet, const SampleBlock& dry);

    const double mSampleRate;
    std::atomic<bool> mIsBypassed{false};
    double mWetPower = -1.0; ///< means over some tenths of a second; below 0 before the first block
    double mDryPower = -1.0;
    float mGain = 1.0F;  ///< of the dry sound
    float mShare = 0.0F; ///< of the dry sound in what is heard
};

} // namespace velloria
