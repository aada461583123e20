#pragma once

#include "formats/flac/FlacDescription.h"
#include "formats/flac/FlacMetadataEdit.h"
#include "formats/flac/FlacSeekTable.h"

#include <FLAC/stream_encoder.h>
#include <optional>
#include <span>

namespace velloria
{

/// Where the frames of an encoder go: a file of its own or pages of Ogg.
class FlacFrameSink;

/// Writes one FLAC file, on its own or in Ogg, with the library's default settings. The library encodes the
/// sound; what stands in front of it is written here, byte for byte as it is given. One thread at a time.
class FlacEncoder
{
public:
    /// `numFrames` is what the file will hold; a serial number puts the stream into Ogg pages.
    FlacEncoder(std::shared_ptr<FileHandle> handle, const FlacFormat& format, int64_t numFrames,
                std::optional<int> oggSerialNumber = std::nullopt);
    ~FlacEncoder();

    /// What the library calls itself; it stands in the comments.
    static QByteArray vendor();

    /// Writes the metadata behind the description of the sound. A seek table is made anew; pages of Ogg need
    /// none.
    MaybeError start(FlacMetadataEdit::Blocks blocks);
    /// channels[c] holds integers of the format's size.
    MaybeError encode(std::span<const int32_t* const> channels, int64_t numFrames);
    /// Writes what is left, and the final numbers into the header. Also after an error, to end decently.
    MaybeError finish();

    /// The metadata as they stand in the file.
    const FlacMetadataEdit::Blocks& blocks() const { return mBlocks; }

private:
    struct Callbacks;
    struct EncoderDeleter {
        void operator()(FLAC__StreamEncoder* encoder) const { FLAC__stream_encoder_delete(encoder); }
    };

    void takeFrame(std::span<const std::byte> bytes, int64_t numFrames);
    QByteArray streamInfo() const;
    Error failure() const;

    const FlacFormat mFormat;
    const int64_t mNumFrames;
    FlacMetadataEdit::Blocks mBlocks;
    std::optional<FlacSeekTable> mSeekTable;
    std::unique_ptr<FlacFrameSink> mSink;
    /// What the library writes in front of the frames, and where it writes next in there; at the end it
    /// completes the description.
    QByteArray mHead;
    qsizetype mHeadPosition = 0;
    bool mHasStarted = false;
    int64_t mNumFramesWritten = 0;
    int64_t mNumBytesWritten = 0;
    std::unique_ptr<FLAC__StreamEncoder, EncoderDeleter> mEncoder;
};

} // namespace velloria
