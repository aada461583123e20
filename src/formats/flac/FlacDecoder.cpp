#include "formats/flac/FlacDecoder.h"

#include "platform/Log.h"

#include <algorithm>

namespace velloria
{

namespace
{

// The shortest frame (all samples alike, in one channel) and the longest run that it may stand for.
constexpr int64_t shortestFrame = 10;
constexpr int64_t mostFramesInFrame = 65535;

} // namespace

FlacDecoder::FlacDecoder(const FlacDescription& description, int64_t fileLength)
    : mNumFramesTold(description.numFrames)
    // Numbers can be damaged too: no more can be missing than the file had room for.
    , mMostFramesMissing(fileLength / shortestFrame * mostFramesInFrame)
    , mFormat(description.format)
{
}

std::unique_ptr<FlacDecoder> FlacDecoder::open(const std::shared_ptr<const FileHandle>& handle,
                                               const FlacDescription& description)
{
    std::unique_ptr<FlacDecoder> decoder(new FlacDecoder(description, handle->length()));
    decoder->mDecoder = FlacStreamDecoder::open(handle, description.container,
                                                FlacStreamDecoder::Metadata::skipped, *decoder);
    return decoder->mDecoder ? std::move(decoder) : nullptr;
}

bool FlacDecoder::decode(int64_t numFrames, bool isPacking, FlacBlock& block)
{
    mBlock = &block;
    mIsPacking = isPacking;
    block.start(mFormat, isPacking);
    const auto isFull = [&] { return static_cast<int64_t>(block.numFrames()) >= numFrames; };
    while (!isFull()) {
        if (giveSilence(numFrames - static_cast<int64_t>(block.numFrames())))
            continue;
        if (mIsAtEnd)
            break;
        if (!mDecoder->decodeNext())
            finishStream();
    }
    return block.numFrames() > 0;
}

/// Passes on silence and what was held back for it; false when there is neither.
bool FlacDecoder::giveSilence(int64_t numFrames)
{
    if (mNumSilentFrames > 0) {
        const int64_t count = std::min(numFrames, mNumSilentFrames);
        mBlock->appendSilence(static_cast<size_t>(count));
        mNumSilentFrames -= count;
        return true;
    }
    if (!mIsHolding)
        return false;
    mBlock->append(mHeld);
    mIsHolding = false;
    return true;
}

void FlacDecoder::finishStream()
{
    mIsAtEnd = true;
    if (mHasChangedFormat || mNumBadFrames == 0)
        return;
    mIsDamaged = true;
    const int64_t numFramesLeft = mNumFramesTold > 0 ? mNumFramesTold - mNextFrame : mNumBadFrames;
    mNumSilentFrames = std::clamp<int64_t>(numFramesLeft, 0, mNumBadFrames);
}

bool FlacDecoder::didDecode(const FLAC__Frame& frame, const FLAC__int32* const channels[])
{
    const int64_t numFrames = frame.header.blocksize;
    if (mIsBadFrameNext) {
        // Its checksum is wrong, so its numbers cannot be trusted either.
        mIsBadFrameNext = false;
        mNumBadFrames += numFrames;
        return true;
    }
    if (!takeFormat({frame.header.sample_rate, frame.header.channels, frame.header.bits_per_sample}))
        return false;
    const auto first = static_cast<int64_t>(frame.header.number.sample_number);
    if (!mFirstFrame)
        mFirstFrame = mHasFailed ? 0 : first;
    const int64_t numMissing = numFramesMissingBefore(first, numFrames);
    mIsDamaged = mIsDamaged || mHasFailed;
    mHasFailed = false;
    mNumBadFrames = 0;
    mNextFrame = first + numFrames;
    if (numMissing == 0) {
        mBlock->append(channels, static_cast<size_t>(numFrames));
        return true;
    }
    mNumSilentFrames = numMissing;
    mIsHolding = true;
    mHeld.start(mFormat, mIsPacking);
    mHeld.append(channels, static_cast<size_t>(numFrames));
    return true;
}

/// False when the stream changes its format.
bool FlacDecoder::takeFormat(const FlacFormat& format)
{
    mHasChangedFormat = mHasFormat && format != mFormat;
    if (mHasFormat)
        return !mHasChangedFormat;
    mHasFormat = true;
    mFormat = format;
    mBlock->start(format, mIsPacking);
    return true;
}

int64_t FlacDecoder::numFramesMissingBefore(int64_t frame, int64_t numFrames) const
{
    // Numbers that jump in an undamaged stream come from cutting or joining files: there, nothing is missing.
    if (!mHasFailed || frame <= mNextFrame)
        return 0;
    const bool isPlausible = mNumFramesTold == 0 || frame + numFrames <= mNumFramesTold;
    const int64_t numMissing = frame - mNextFrame;
    return isPlausible && numMissing <= mMostFramesMissing ? numMissing : 0;
}

void FlacDecoder::didFail(FLAC__StreamDecoderErrorStatus status)
{
    logLine(QStringLiteral("FLAC decoder error: %1").arg(static_cast<int>(status)));
    mHasFailed = true;
    // The library hands out zeros for such a frame next.
    if (status == FLAC__STREAM_DECODER_ERROR_STATUS_FRAME_CRC_MISMATCH)
        mIsBadFrameNext = true;
}

} // namespace velloria
