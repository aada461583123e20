#include "document/TrackRateConversion.h"

#include "document/clips/ClipWriter.h"
#include "platform/codec/AudioConverterWrapper.h"
#include "platform/codec/SampleRateConverter.h"

#include <algorithm>
#include <thread>

namespace velloria
{

namespace
{

constexpr int64_t kFramesPerBlock = 4096;
/// What a track converts between two looks at the progress: long enough that cores wait little for each
/// other.
constexpr int64_t kBlocksPerRound = 16;

} // namespace

/// One track on its way.
class TrackRateConversion::Channel : public AudioConverterDataSource
{
public:
    Channel(const AudioTrack& track, double sourceRate, double targetRate, MaybeError* error)
        : mTrack(track)
        , mLength(track.length())
    {
        mConverter = AudioConverterWrapper::withInputFormat(
            StreamDescription::descriptionWithSampleRate(sourceRate, 1),
            StreamDescription::descriptionWithSampleRate(targetRate, 1), error);
        if (mConverter)
            mConverter->setDataSource(this);
    }

    bool isValid() const { return mConverter != nullptr; }
    const FloatBuffer& frames() const { return mFrames; }

    /// The next frames; fewer or none at the end.
    void convertRound()
    {
        mFrames.clear();
        for (int64_t i = 0; i < kBlocksPerRound; ++i) {
            const std::vector<float> block = mConverter->convertedFloatsWithNumPackets(kFramesPerBlock);
            mFrames.insert(mFrames.end(), block.begin(), block.end());
            if (std::ssize(block) < kFramesPerBlock)
                return;
        }
    }

    std::vector<float> interleavedDataForAudioConverter(AudioConverterWrapper&,
                                                        int64_t numberOfPackets) override
    {
        std::vector<float> frames(static_cast<size_t>(std::min(numberOfPackets, mLength - mOffset)));
        mTrack.readSamples(mOffset, frames);
        mOffset += std::ssize(frames);
        return frames;
    }

private:
    const AudioTrack& mTrack;
    const int64_t mLength;
    int64_t mOffset = 0;
    std::unique_ptr<AudioConverterWrapper> mConverter;
    FloatBuffer mFrames;
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
    const size_t groupSize = std::max(2U, std::thread::hardware_concurrency());
    const std::span<const AudioTrackPtr> all(tracks);
    for (size_t first = 0; first < all.size() && !mIsCancelled; first += groupSize) {
        const auto group = all.subspan(first, std::min(groupSize, all.size() - first));
        if (!convertGroup(group, progress, error))
            return {};
    }
    return std::move(mConverted);
}

bool TrackRateConversion::convertGroup(std::span<const AudioTrackPtr> tracks, Progress& progress,
                                       MaybeError* error)
{
    const auto fail = [error](const MaybeError& failure) {
        if (error)
            *error = failure;
        return false;
    };
    std::vector<std::unique_ptr<Channel>> channels;
    for (const AudioTrackPtr& track : tracks) {
        channels.push_back(std::make_unique<Channel>(*track, mSourceRate, mTargetRate, error));
        if (!channels.back()->isValid())
            return false;
    }
    const auto count = static_cast<int>(channels.size());
    ClipWriter writer(count, mTargetRate);
    ClipWriter::Block block(channels.size());
    for (bool isAtEnd = false; !isAtEnd && !mIsCancelled;) {
        runConcurrently(count, [&channels](int i) { channels[static_cast<size_t>(i)]->convertRound(); });
        isAtEnd = true;
        for (size_t i = 0; i < channels.size(); ++i) {
            block[i] = channels[i]->frames();
            mNumFramesDone += std::ssize(block[i]);
            isAtEnd &= std::ssize(block[i]) < kBlocksPerRound * kFramesPerBlock;
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
