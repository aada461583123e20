#pragma once

#include "formats/tags/VorbisComments.h"
#include "platform/FileHandle.h"

#include <memory>
#include <vorbis/vorbisfile.h>

namespace velloria
{

/// libvorbisfile's decoder over an open Ogg file. Streams that follow one another in the file are one, as
/// long as rate and number of channels stay the same. Several may read one handle at once. One thread at a
/// time.
class VorbisStream
{
public:
    /// Null with the library's status when the file has no Vorbis sound.
    static std::unique_ptr<VorbisStream> open(std::shared_ptr<const FileHandle> handle, int* status);
    /// True when the file begins like Vorbis.
    static bool isVorbis(std::shared_ptr<const FileHandle> handle);

    ~VorbisStream();
    VorbisStream(const VorbisStream&) = delete;
    VorbisStream& operator=(const VorbisStream&) = delete;

    size_t numChannels() const { return mNumChannels; }
    double sampleRate() const { return mSampleRate; }
    /// As the positions in the file tell.
    int64_t numFrames() const { return mNumFrames; }
    /// Bits per second on average; 0 when that is not known.
    int64_t bitRate();
    /// As the encoder was asked for, in bits per second; 0 when the file does not say.
    int64_t nominalBitRate();
    /// True when the encoder was held to that rate, and not to a quality.
    bool hasManagedBitRate();
    /// Streams that follow one another in the file and are read.
    int numLinks() const { return mNumLinks; }
    VorbisComments comments(int link = 0);
    uint32_t serialNumber(int link);
    /// What the library holds of them.
    int64_t commentBytes();
    /// True when a stream with another rate or number of channels follows.
    bool changesFormat() const { return mChangesFormat; }

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

    explicit VorbisStream(std::shared_ptr<const FileHandle> handle);
    void describe();

    const std::shared_ptr<const FileHandle> mHandle;
    /// Where the library reads next.
    int64_t mPosition = 0;
    bool mIsOpen = false;
    OggVorbis_File mFile = {};
    size_t mNumChannels = 0;
    double mSampleRate = 0.0;
    int64_t mNumFrames = 0;
    /// Streams that are read, of those that follow one another.
    int mNumLinks = 0;
    bool mChangesFormat = false;
    int64_t mFramePosition = 0;
    bool mIsDamaged = false;
};

} // namespace velloria
