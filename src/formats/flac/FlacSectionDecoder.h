#pragma once

#include "formats/flac/FlacBlock.h"

namespace velloria
{

/// Decodes any section of an undamaged FLAC stream. One thread at a time; several decoders may work on one
/// file.
class FlacSectionDecoder : private FlacStreamDecoder::Client
{
public:
    /// Null, logged, when the library cannot be started.
    static std::unique_ptr<FlacSectionDecoder> open(const std::shared_ptr<const FileHandle>& handle,
                                                    const FlacDescription& description);

    /// Fills the block with just these frames; false when the stream is not what its description says.
    bool decode(int64_t firstFrame, int64_t numFrames, bool isPacking, FlacBlock& block);

    /// True when no frame follows what was decoded last. Nothing can be decoded any more then.
    bool isAtEnd();
    /// Where the frame that was decoded last ends in the file; 0 when that is not known.
    int64_t endOfFrame() const { return mDecoder->endOfFrame(); }

private:
    explicit FlacSectionDecoder(const FlacFormat& format)
        : mFormat(format)
    {
    }
    bool didDecode(const FLAC__Frame& frame, const FLAC__int32* const channels[]) override;
    void didFail(FLAC__StreamDecoderErrorStatus status) override;

    const FlacFormat mFormat;
    FlacBlock* mBlock = nullptr;
    int64_t mNextFrame = 0;
    int64_t mNumFramesLeft = 0;
    bool mHasFailed = false;
    bool mIsLookingForMore = false;
    bool mHasMore = false;
    std::unique_ptr<FlacStreamDecoder> mDecoder;
};

} // namespace velloria
