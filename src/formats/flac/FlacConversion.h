#pragma once

#include "document/clips/ClipWriter.h"
#include "formats/flac/FlacDecoder.h"
#include "platform/Progress.h"

#include <QCryptographicHash>
#include <array>
#include <functional>

namespace velloria
{

/// Decodes a whole FLAC file into new clips, one a channel: a sound one in sections on all cores, any other
/// from start to end. Writing the scratch files and checking the sum of the samples go on meanwhile. Used
/// once, on one thread; progress is told there.
class FlacConversion
{
public:
    using Clips = std::vector<std::shared_ptr<MutableAudioClip>>;

    /// `didBegin` is called once, in run(), when format() and the clips are there and before they grow.
    FlacConversion(std::shared_ptr<const FileHandle> handle, const FlacDescription& description,
                   std::function<void()> didBegin = {});
    ~FlacConversion();

    /// An error when it cannot go on (no room for scratch files), is cancelled or finds no sound where the
    /// file promises some. Damage is no error.
    MaybeError run(Progress& progress);

    const Clips& clips() const { return mWriter->clips(); }
    const FlacFormat& format() const { return mFormat; }
    int64_t numFrames() const { return mNumFrames; }
    /// Where the last frame ends in the file; 0 when that is not known.
    int64_t endOfSound() const { return mEndOfSound; }
    /// The number of the first frame in its stream.
    int64_t firstFrame() const { return mFirstFrame; }
    /// True when some of the sound could not be decoded.
    bool isDamaged() const { return mIsDamaged || mHasChangedFormat; }
    /// What a person should know of the file, called `name` there.
    QStringList warnings(const QString& name) const;

private:
    struct Sections;

    bool decodeSections(Progress& progress, MaybeError* error);
    MaybeError decodeInOrder(Progress& progress);
    MaybeError takeInOrder(FlacDecoder& decoder, Progress& progress);
    MaybeError take(const FlacBlock& block);
    void begin();
    void checkPages();
    void tellProgress(const FlacDecoder& decoder, Progress& progress) const;
    bool isChecksumWrong() const;

    const std::shared_ptr<const FileHandle> mHandle;
    const FlacDescription& mDescription;
    const std::function<void()> mDidBegin;
    FlacFormat mFormat;
    int64_t mNumFrames = 0;
    int64_t mEndOfSound = 0;
    int64_t mFirstFrame = 0;
    /// Those that come again when the file turns out to be damaged and is decoded anew.
    int64_t mNumFramesToDrop = 0;
    bool mIsDamaged = false;
    /// By the pages of Ogg.
    bool mIsSoundPromised = false;
    bool mHasChangedFormat = false;
    std::unique_ptr<ClipWriter> mWriter;
    /// One is filled while the checksum of the other is computed.
    std::array<FlacBlock, 2> mBlocks;
    QCryptographicHash mChecksum{QCryptographicHash::Md5};
    std::shared_ptr<DispatchGroup> mChecksumGroup = std::make_shared<DispatchGroup>();
    DispatchQueue mChecksumQueue;
};

} // namespace velloria
