#pragma once

#include "document/clips/AudioTrack.h"
#include "measurement/SpectrumSettings.h"
#include "platform/Error.h"
#include "platform/Progress.h"

#include <optional>
#include <span>
#include <vector>

namespace velloria
{

/// The mean power of a sound at each frequency, track by track. A sine of full scale is 0 dB.
class AverageSpectrum
{
public:
    static constexpr float lowestLevelDB = -200.0F;

    /// Of `numFrames` frames from `offset` on, in pieces that overlap by half; the last one ends with the
    /// sound. What is shorter than a piece is one piece of its own length. Nothing when it was cancelled or
    /// failed, which `error` tells. Any thread; all cores are at work.
    static std::optional<AverageSpectrum> ofTracks(std::span<const AudioTrackPtr> tracks, double sampleRate,
                                                   int64_t offset, int64_t numFrames,
                                                   const SpectrumSettings& settings, Progress& progress,
                                                   MaybeError* error);

    double sampleRate() const { return mSampleRate; }
    size_t numTracks() const { return mLevels.size(); }
    /// From 0 to half of the rate, both included, equally apart.
    size_t numBins() const { return mLevels.empty() ? 0 : mLevels.front().size(); }
    double binWidth() const { return mSampleRate / 2.0 / static_cast<double>(numBins() - 1); }
    std::span<const float> levelsDB(size_t track) const { return mLevels[track]; }

    struct Peak {
        double frequency = 0; ///< between the bins, by the parabola through the highest and its neighbours
        double levelDB = lowestLevelDB;
    };
    /// The highest level of any track from one frequency to another.
    Peak highestBetween(double lowest, double highest) const;

    /// Frequency and levels, one line a bin, parted by tabs, below a line of titles.
    QString text() const;

private:
    Peak peakAtBin(size_t track, size_t bin) const;

    double mSampleRate = 0;
    std::vector<std::vector<float>> mLevels;
};

} // namespace velloria
