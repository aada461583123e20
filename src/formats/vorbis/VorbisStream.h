#pragma once

#include "formats/comments/VorbisCommentPacket.h"
#include "formats/comments/VorbisComments.h"
#include "formats/vorbis/VorbisLinks.h"
#include "platform/FileHandle.h"

#include <memory>
#include <vorbis/vorbisfile.h>

namespace velloria
{

/// libvorbisfile's decoder over an open Ogg file, which is shown one Vorbis stream at a time. Streams that
/// follow one another in the file are one, as long as rate and number of channels stay the same. Several may
/// read one handle at once. One thread at a time.
class VorbisStream
{
public:
    /// Null with the library's status when the file has no Vorbis sound.
    static std::unique_ptr<VorbisStream> open(std::shared_ptr<const FileHandle> handle, int* status);
    /// True when the file begins like Vorbis.
    static bool isVorbis(std::shared_ptr<const FileHandle> handle);
    /// Another reader of the same file, at its start.
    std::unique_ptr<VorbisStream> another() const;

    ~VorbisStream();
    VorbisStream(const VorbisStream&) = delete;
    VorbisStream& operator=(const VorbisStream&) = delete;

    size_t numChannels() const { return mNumChannels; }
    double sampleRate() const { return mSampleRate; }
    /// As the positions in the file tell.
    int64_t numFrames() const { return mNumFrames; }
    /// Bits per second on average; 0 when that is not known.
    int64_t bitRate() const { return mBitRate; }
    /// As the encoder was asked for, in bits per second; 0 when the file does not say.
    int64_t nominalBitRate() const { return mNominalBitRate; }
    /// True when the encoder was held to that rate, and not to a quality.
    bool hasManagedBitRate() const { return mHasManagedBitRate; }
    /// Streams that follow one another in the file and are read.
    int numLinks() const { return static_cast<int>(mLinks.size()); }
    const VorbisComments& comments(int link = 0) const { return linkAt(link).comments; }
    /// Of the first stream, as they stand there.
    const VorbisCommentPacket& commentPacket() const { return mCommentPacket; }
    uint32_t serialNumber(int link) const { return linkAt(link).pages->serialNumber(); }
    /// The seconds that the positions in the file tell for its first frame: not 0 for what was cut out of a
    /// longer recording.
    double startSeconds() const { return mStartSeconds; }
    /// What the library holds of the comments.
    int64_t commentBytes() const { return mCommentBytes; }
    /// True when a stream with another rate or number of channels follows.
    bool changesFormat() const { return mChangesFormat; }
    /// True when a stream follows whose headers are damaged.
    bool isBroken() const { return mIsBroken; }

    /// The next frames of all channels, up to 1024, in `channels` for the time until the next call; 0 at the
    /// end.
    int64_t read(float*** channels);
    /// The number of the first frame that the last read() gave.
    int64_t framePosition() const { return mFramePosition; }
    /// True when damaged pages were skipped so far.
    bool isDamaged() const { return mIsDamaged; }

    /// Goes to a frame. False when it is not found.
    bool seek(int64_t frame);

private:
    struct Callbacks;
    struct Link {
        std::shared_ptr<const VorbisLink> pages;
        int64_t firstFrame = 0;
        int64_t numFrames = 0;
        VorbisComments comments;
    };

    explicit VorbisStream(std::shared_ptr<const FileHandle> handle);
    const Link& linkAt(int index) const { return mLinks[static_cast<size_t>(index)]; }
    int openPages(const std::shared_ptr<const VorbisLink>& pages);
    bool openLink(int index);
    void close();
    bool takeLink(const std::shared_ptr<const VorbisLink>& pages);
    void describeFirst();

    const std::shared_ptr<const FileHandle> mHandle;
    /// Those that are read.
    std::vector<Link> mLinks;
    /// What the library has open, and where it reads next of that.
    std::shared_ptr<const VorbisLink> mPages;
    int64_t mPosition = 0;
    OggVorbis_File mFile = {};
    /// The stream that is read next.
    int mLink = 0;
    size_t mNumChannels = 0;
    double mSampleRate = 0.0;
    double mStartSeconds = 0.0;
    int64_t mNumFrames = 0;
    int64_t mBitRate = 0;
    int64_t mNominalBitRate = 0;
    bool mHasManagedBitRate = false;
    int64_t mCommentBytes = 0;
    VorbisCommentPacket mCommentPacket;
    bool mChangesFormat = false;
    bool mIsBroken = false;
    int64_t mFramePosition = 0;
    bool mIsDamaged = false;
};

} // namespace velloria
