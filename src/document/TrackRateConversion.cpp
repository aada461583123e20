#include "document/TrackRateConversion.h"

#include "document/RateConversionReader.h"
#include "document/clips/ClipWriter.h"
#include "document/clips/ComputedClip.h"
#include "document/clips/ComputedSound.h"
#include "document/clips/SourceWatch.h"
#include "platform/codec/SampleRateConverter.h"

#include <algorithm>
#include <thread>

namespace velloria
{

namespace
{

/// What a track converts between two looks at the progress: long enough that cores wait little for each
/// other.
constexpr int64_t kFramesPerRound = 65536;

} // namespace

/// One track on its way.
struct TrackRateConversion::Channel {
    std::unique_ptr<TrackRateConverter> converter;
    FloatBuffer frames;

    /// The next frames; fewer or none at the end.
    void convertRound()
    {
        frames.clear();
        converter->convert(kFramesPerRound, frames);
    }
};

TrackRateConversion::TrackRateConversion(double sourceRate, double targetRate)
    : mSourceRate(sourceRate)
    , mTargetRate(targetRate)
{
}

std::vector<AudioTrackPtr> TrackRateConversion::convert(const std::vector<AudioTrackPtr>& tracks,
                                                        Progress& progress, MaybeError* error)
{
    mConverted.clear();
    mIsCancelled = false;
    mNumFramesDone = 0;
    mNumFramesToDo = 0;
    for (const AudioTrackPtr& track : tracks)
        mNumFramesToDo += SampleRateConverter::outputLength(track->length(), mSourceRate, mTargetRate);
    if (const MaybeError lack = ComputedSound::lackOfRoom(mNumFramesToDo, 1)) {
        if (error)
            *error = lack;
        return {};
    }
    const size_t groupSize = std::max(2U, std::thread::hardware_concurrency());
    const std::span<const AudioTrackPtr> all(tracks);
    for (size_t first = 0; first < all.size() && !mIsCancelled; first += groupSize) {
        const auto group = all.subspan(first, std::min(groupSize, all.size() - first));
        if (!convertGroup(group, progress, error))
            return {};
    }
    return std::move(mConverted);
}

std::vector<AudioTrackPtr> TrackRateConversion::convertWhenRead(const std::vector<AudioTrackPtr>& tracks,
                                                                MaybeError* error) const
{
    std::vector<AudioTrackPtr> converted;
    for (const AudioTrackPtr& track : tracks) {
        const auto reader = RateConversionReader::create(track, mSourceRate, mTargetRate, error);
        if (!reader)
            return {};
        const int64_t length = SampleRateConverter::outputLength(track->length(), mSourceRate, mTargetRate);
        const auto clip = std::make_shared<ComputedClip>(
            length, track, [reader](int64_t offset, std::span<float> out) { reader->read(0, offset, out); },
            ComputedSound::samplesFrom(*track, 0, track->length()));
        converted.push_back(std::make_shared<AudioTrack>(length > 0 ? ClipList(clip) : ClipList()));
    }
    return converted;
}

bool TrackRateConversion::convertGroup(std::span<const AudioTrackPtr> tracks, Progress& progress,
                                       MaybeError* error)
{
    const auto fail = [error](const MaybeError& failure) {
        if (error)
            *error = failure;
        return false;
    };
    const SourceWatch watch(tracks);
    std::vector<Channel> channels;
    for (const AudioTrackPtr& track : tracks) {
        channels.push_back({TrackRateConverter::create(*track, mSourceRate, mTargetRate, error), {}});
        if (!channels.back().converter)
            return false;
    }
    const auto count = static_cast<int>(channels.size());
    ClipWriter writer(count, mTargetRate);
    writer.setComputed(ComputedSound::samplesFrom(tracks));
    ClipWriter::Block block(channels.size());
    for (bool isAtEnd = false; !isAtEnd && !mIsCancelled;) {
        runConcurrently(count, [&channels](int i) { channels[static_cast<size_t>(i)].convertRound(); });
        isAtEnd = true;
        for (size_t i = 0; i < channels.size(); ++i) {
            block[i] = channels[i].frames;
            mNumFramesDone += std::ssize(block[i]);
            isAtEnd &= std::ssize(block[i]) < kFramesPerRound;
        }
        if (const MaybeError failure = writer.append(block))
            return fail(failure);
        if (mNumFramesToDo > 0)
            progress.setProgressValue(static_cast<double>(mNumFramesDone) /
                                      static_cast<double>(mNumFramesToDo));
        mIsCancelled = !isAtEnd && progress.isCancelled();
    }
    if (const MaybeError failure = writer.finish())
        return fail(failure);
    if (const MaybeError failure = watch.error())
        return fail(failure);
    for (size_t i = 0; i < channels.size(); ++i) {
        const AudioClipPtr clip = writer.clips()[i];
        mConverted.push_back(
            std::make_shared<AudioTrack>(clip->numFrames() > 0 ? ClipList(clip) : ClipList()));
        const int64_t whole =
            SampleRateConverter::outputLength(tracks[i]->length(), mSourceRate, mTargetRate);
        if (mIsCancelled && clip->numFrames() < whole)
            break;
    }
    return true;
}

} // namespace velloria
