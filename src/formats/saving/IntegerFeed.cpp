#include "formats/saving/IntegerFeed.h"

#include "document/clips/SampleKernels.h"
#include "document/clips/TrackReader.h"

#include <algorithm>
#include <cstring>

namespace velloria
{

namespace
{

constexpr int widestInteger = 32;

} // namespace

IntegerFeed::IntegerFeed(TrackList tracks, const SaveRange& range, int64_t framesPerBlock, int bits)
    : mTracks(std::move(tracks))
    , mRange(range)
    , mFramesPerBlock(std::min(framesPerBlock, std::max<int64_t>(1, range.numFrames)))
    , mBits(bits)
    , mQueue(QStringLiteral("IntegerFeed"))
{
    const auto numTracks = static_cast<size_t>(mRange.numTracks);
    const auto numFrames = static_cast<size_t>(mFramesPerBlock);
    mFloats.resize(numTracks * numFrames);
    for (Block& block : mBlocks)
        block.integers.resize(numTracks * numFrames);
    for (size_t start = 0; start < mFloats.size(); start += numFrames) {
        mFloatChannels.push_back(mFloats.data() + start);
        for (Block& block : mBlocks)
            block.channels.push_back(block.integers.data() + start);
    }
    startFetching(mBlocks[1]);
}

IntegerFeed::~IntegerFeed()
{
    mGroup->wait();
}

std::span<const AudioTrackPtr> IntegerFeed::tracks() const
{
    return std::span(*mTracks).subspan(static_cast<size_t>(mRange.firstTrack),
                                       static_cast<size_t>(mRange.numTracks));
}

bool IntegerFeed::next()
{
    mGroup->wait();
    mCurrent = 1 - mCurrent;
    if (numFrames() > 0)
        startFetching(mBlocks[1 - mCurrent]);
    return numFrames() > 0;
}

void IntegerFeed::startFetching(Block& block)
{
    block.numFrames = std::min(mFramesPerBlock, mRange.numFrames - mNumFramesFetched);
    if (block.numFrames <= 0)
        return;
    const int64_t frame = mRange.startFrame + mNumFramesFetched;
    mNumFramesFetched += block.numFrames;
    mQueue.async(mGroup, [this, &block, frame] { fetch(block, frame); });
}

void IntegerFeed::fetch(Block& block, int64_t frame)
{
    const auto count = static_cast<size_t>(block.numFrames);
    TrackReader::readSamples(tracks(), frame, mFloatChannels, count);
    for (size_t track = 0; track < mFloatChannels.size(); ++track) {
        int32_t* const out = block.integers.data() + track * static_cast<size_t>(mFramesPerBlock);
        SampleKernels::roundToIntegers(mFloatChannels[track], mBits, out, count);
        if (mBits == widestInteger)
            takeStoredIntegers(*tracks()[track], frame, {out, count});
    }
}

/// Puts the integers that clips read in place where a float does not hold them all: those of 32 bits.
void IntegerFeed::takeStoredIntegers(const AudioTrack& track, int64_t frame, std::span<int32_t> out) const
{
    const auto numFrames = static_cast<int64_t>(out.size());
    std::vector<std::byte> bytes;
    for (auto cursor = ClipList::Cursor::atFrame(track.clips(), frame);
         !cursor.atEnd() && cursor.startFrame() < frame + numFrames; cursor.next()) {
        const AudioClip& clip = *cursor.clip();
        const SampleSource* const source = clip.sourceFile().get();
        if (!source || source->isFloat() || source->sampleBits() != widestInteger)
            continue;
        const int64_t first = std::max(frame, cursor.startFrame());
        const int64_t end = std::min(frame + numFrames, cursor.startFrame() + clip.numFrames());
        bytes.resize(static_cast<size_t>(std::max<int64_t>(0, end - first) * source->frameSize()));
        const int64_t sourceFrame = clip.sourceOffset() + first - cursor.startFrame();
        const int64_t numRead = source->readAudioDataAtOffset(
            source->soundDataOffset() + sourceFrame * source->frameSize(), bytes);
        const std::byte* from = bytes.data() + clip.channelIndex() * int64_t{sizeof(int32_t)};
        for (int64_t i = 0; i < numRead / source->frameSize(); ++i, from += source->frameSize())
            std::memcpy(&out[static_cast<size_t>(first - frame + i)], from, sizeof(int32_t));
    }
}

} // namespace velloria
