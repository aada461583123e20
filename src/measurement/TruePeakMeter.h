#pragma once

#include <array>
#include <cstddef>
#include <span>

namespace velloria
{

/// The highest level that one track reaches between its samples (ITU-R BS.1770-4, annex 2), at every rate:
/// the samples are brought to four times the rate by two filters of half a band, and a parabola through a
/// peak and its neighbours finds the top between them. A sine up to 0.46 of the rate is read to 0.1 dB.
/// Samples that are no finite numbers count as silence.
class TruePeakMeter
{
public:
    TruePeakMeter() = default;

    void addSamples(std::span<const float> samples);

    /// Linear; of what the last samples become with those that follow only the samples themselves are in it.
    float truePeak() const { return mTruePeak; }

private:
    /// What the filters see before and behind a sample.
    static constexpr size_t kReach = 24;
    static constexpr size_t kRunNumSamples = 1024;
    /// Loops go on to the end of a vector register.
    static constexpr size_t kRoomBehind = 32;

    void addRun(std::span<const float> samples);
    void addBetweenSamples(size_t numSamples);
    void addTops(size_t numSamples);

    static constexpr size_t kRoom = kRunNumSamples + kRoomBehind;
    /// The samples of a run behind the last ones before it.
    std::array<float, 2 * kReach + kRoom> mSamples{};
    /// What lies a quarter, a half and three quarters after each sample.
    std::array<float, kRoom> mQuarters{};
    std::array<float, kRoom> mHalves{};
    std::array<float, kRoom> mThreeQuarters{};
    float mPeakBefore = 0.0F; ///< of the samples before the run
    float mTruePeak = 0.0F;
};

} // namespace velloria
