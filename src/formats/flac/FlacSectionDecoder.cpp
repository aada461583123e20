#include "formats/flac/FlacSectionDecoder.h"

#include <algorithm>

namespace velloria
{

std::unique_ptr<FlacSectionDecoder> FlacSectionDecoder::open(const std::shared_ptr<const FileHandle>& handle,
                                                             const FlacDescription& description)
{
    std::unique_ptr<FlacSectionDecoder> decoder(new FlacSectionDecoder(description.format));
    decoder->mDecoder = FlacStreamDecoder::open(handle, description.container,
                                                FlacStreamDecoder::Metadata::skipped, *decoder);
    const bool isReady = decoder->mDecoder && decoder->mDecoder->readMetadata();
    return isReady ? std::move(decoder) : nullptr;
}

bool FlacSectionDecoder::decode(int64_t firstFrame, int64_t numFrames, bool isPacking, FlacBlock& block)
{
    mBlock = &block;
    block.start(mFormat, isPacking);
    mNextFrame = firstFrame;
    mNumFramesLeft = numFrames;
    // Seeking hands out the block that begins with the frame.
    mHasFailed = mHasFailed || !mDecoder->seek(firstFrame);
    while (!mHasFailed && mNumFramesLeft > 0) {
        if (!mDecoder->decodeNext())
            break;
    }
    return !mHasFailed && mNumFramesLeft == 0;
}

bool FlacSectionDecoder::isAtEnd()
{
    // What follows may be anything, a tag for example.
    mIsLookingForMore = true;
    while (!mHasMore && mDecoder->decodeNext()) {
    }
    return !mHasMore;
}

bool FlacSectionDecoder::didDecode(const FLAC__Frame& frame, const FLAC__int32* const channels[])
{
    if (mIsLookingForMore) {
        mHasMore = true;
        return false;
    }
    const FlacFormat format = {frame.header.sample_rate, frame.header.channels, frame.header.bits_per_sample};
    if (format != mFormat || static_cast<int64_t>(frame.header.number.sample_number) != mNextFrame)
        mHasFailed = true;
    if (mHasFailed)
        return false;
    const int64_t count = std::min<int64_t>(frame.header.blocksize, mNumFramesLeft);
    mBlock->append(channels, static_cast<size_t>(count));
    mNextFrame += frame.header.blocksize;
    mNumFramesLeft -= count;
    return true;
}

void FlacSectionDecoder::didFail(FLAC__StreamDecoderErrorStatus)
{
    mHasFailed = true;
}

} // namespace velloria
