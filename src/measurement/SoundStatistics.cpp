#include "measurement/SoundStatistics.h"

#include "document/clips/SourceWatch.h"
#include "measurement/LevelMeter.h"
#include "measurement/LoudnessMeter.h"
#include "measurement/TruePeakMeter.h"
#include "platform/DispatchQueue.h"

#include <algorithm>

namespace velloria
{

namespace
{

// As much as both halves of the work and all tracks of most files leave in the second-level cache.
constexpr int64_t kBlockNumFrames = 32768;

/// Measures block after block, and reads the next one meanwhile.
class Measurement
{
public:
    Measurement(std::span<const AudioTrackPtr> tracks, double sampleRate)
        : mTracks(tracks)
        , mLoudness(LoudnessMeter::make(sampleRate, tracks.size()))
        , mLevels(tracks.size())
        , mTruePeaks(tracks.size())
        , mBlock(tracks.size())
        , mNextBlock(tracks.size())
    {
    }

    /// False when there is no memory, or it was cancelled.
    bool run(int64_t offset, int64_t numFrames, Progress& progress)
    {
        const auto sizeOfBlockAt = [numFrames](int64_t start) {
            return static_cast<size_t>(std::min(numFrames - start, kBlockNumFrames));
        };
        runConcurrently(static_cast<int>(mTracks.size()),
                        [&](int track) { readNext(static_cast<size_t>(track), offset, sizeOfBlockAt(0)); });
        for (int64_t start = 0; start < numFrames;) {
            if (progress.isCancelled())
                return false;
            std::swap(mBlock, mNextBlock);
            start = std::min(numFrames, start + kBlockNumFrames);
            if (!measureBlock(offset + start, sizeOfBlockAt(start)))
                return false;
            progress.setProgressValue(static_cast<double>(start) / static_cast<double>(numFrames));
        }
        return true;
    }

    SoundStatistics statistics() const
    {
        SoundStatistics result;
        for (size_t i = 0; i < mTracks.size(); ++i)
            result.tracks.push_back({mLevels[i].peak(), mTruePeaks[i].truePeak(), mLevels[i].rms(),
                                     mLevels[i].dcOffset(), mLevels[i].numClipped()});
        if (mLoudness)
            result.loudness = {mLoudness->integrated(), mLoudness->range(), mLoudness->highestMomentary(),
                               mLoudness->highestShortTerm()};
        return result;
    }

private:
    void readNext(size_t track, int64_t offset, size_t numFrames)
    {
        mNextBlock[track].resize(numFrames);
        mTracks[track]->readSamples(offset, mNextBlock[track]);
    }

    bool measureBlock(int64_t nextOffset, size_t nextNumFrames)
    {
        const std::vector<std::span<const float>> spans(mBlock.begin(), mBlock.end());
        bool isGood = true;
        // The longest job comes first; the short ones fill the other cores.
        const auto runJob = [&](int job) {
            if (job == 0) {
                isGood = !mLoudness || mLoudness->addFrames(spans);
                return;
            }
            const auto track = static_cast<size_t>(job - 1) / 2;
            if (job % 2 == 1)
                readNext(track, nextOffset, nextNumFrames);
            else
                measureTrack(track);
        };
        runConcurrently(static_cast<int>(1 + 2 * mTracks.size()), runJob);
        return isGood;
    }

    void measureTrack(size_t track)
    {
        mLevels[track].addSamples(mBlock[track]);
        mTruePeaks[track].addSamples(mBlock[track]);
    }

    std::span<const AudioTrackPtr> mTracks;
    std::unique_ptr<LoudnessMeter> mLoudness;
    std::vector<LevelMeter> mLevels;
    std::vector<TruePeakMeter> mTruePeaks;
    std::vector<FloatBuffer> mBlock;
    std::vector<FloatBuffer> mNextBlock;
};

} // namespace

double SoundStatistics::highestPeak() const
{
    double highest = 0.0;
    for (const Track& track : tracks)
        highest = std::max(highest, track.peak);
    return highest;
}

double SoundStatistics::highestTruePeak() const
{
    double highest = 0.0;
    for (const Track& track : tracks)
        highest = std::max(highest, track.truePeak);
    return highest;
}

int64_t SoundStatistics::numClipped() const
{
    int64_t count = 0;
    for (const Track& track : tracks)
        count += track.numClipped;
    return count;
}

std::optional<SoundStatistics> SoundStatistics::ofTracks(std::span<const AudioTrackPtr> tracks,
                                                         double sampleRate, int64_t offset, int64_t numFrames,
                                                         Progress& progress, MaybeError* error)
{
    const SourceWatch watch(tracks);
    Measurement measurement(tracks, sampleRate);
    MaybeError failure;
    if (!measurement.run(offset, numFrames, progress))
        failure = progress.isCancelled()
                      ? Error::cancelled()
                      : Error{Error::Code::failed, QStringLiteral("There is not enough memory.")};
    else
        failure = watch.error();
    if (failure) {
        if (error)
            *error = failure;
        return std::nullopt;
    }
    SoundStatistics statistics = measurement.statistics();
    statistics.sampleRate = sampleRate;
    statistics.numFrames = numFrames;
    return statistics;
}

} // namespace velloria
