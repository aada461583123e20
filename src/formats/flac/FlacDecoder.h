#pragma once

#include "formats/flac/FlacBlock.h"

#include <optional>

namespace velloria
{

/// Decodes a FLAC stream from start to end, as far as it goes. Where frames are damaged or missing there is
/// silence of their length, as the numbers of the frames around them tell; a stream that goes on with another
/// rate, width or number of channels ends there. One thread at a time.
class FlacDecoder : private FlacStreamDecoder::Client
{
public:
    /// Null, logged, when the library cannot be started.
    static std::unique_ptr<FlacDecoder> open(const std::shared_ptr<const FileHandle>& handle,
                                             const FlacDescription& description);

    /// Fills the block with the next frames: about so many, fewer at the end. False when there are no more.
    bool decode(int64_t numFrames, bool isPacking, FlacBlock& block);

    /// What the frames say, which counts more than the metadata; as these say before the first frame.
    const FlacFormat& format() const { return mFormat; }
    /// The number that the stream gives its first frame; 0 before that, and where damage stands in front of
    /// it.
    int64_t firstFrame() const { return mFirstFrame.value_or(0); }
    /// True when some sound could not be decoded.
    bool isDamaged() const { return mIsDamaged; }
    /// True when the stream changed its format, and decoding ended there.
    bool hasChangedFormat() const { return mHasChangedFormat; }
    /// Bytes of the file that were read so far.
    int64_t position() const { return mDecoder->position(); }
    /// Where the frame that was decoded last ends in the file; 0 when that is not known.
    int64_t endOfFrame() const { return mDecoder->endOfFrame(); }

private:
    FlacDecoder(const FlacDescription& description, int64_t fileLength);
    bool didDecode(const FLAC__Frame& frame, const FLAC__int32* const channels[]) override;
    void didFail(FLAC__StreamDecoderErrorStatus status) override;
    bool takeFormat(const FlacFormat& format);
    int64_t numFramesMissingBefore(int64_t frame, int64_t numFrames) const;
    void finishStream();
    bool giveSilence(int64_t numFrames);

    const int64_t mNumFramesTold;
    const int64_t mMostFramesMissing;
    FlacFormat mFormat;
    bool mHasFormat = false;
    std::optional<int64_t> mFirstFrame;
    /// The number of the frame that should come next.
    int64_t mNextFrame = 0;
    /// Since the last sound frame.
    bool mHasFailed = false;
    int64_t mNumBadFrames = 0;
    bool mIsBadFrameNext = false;
    bool mIsDamaged = false;
    bool mHasChangedFormat = false;
    bool mIsAtEnd = false;

    FlacBlock* mBlock = nullptr;
    bool mIsPacking = false;
    /// Silence that comes next, and what follows it.
    int64_t mNumSilentFrames = 0;
    FlacBlock mHeld;
    bool mIsHolding = false;
    std::unique_ptr<FlacStreamDecoder> mDecoder;
};

} // namespace velloria
