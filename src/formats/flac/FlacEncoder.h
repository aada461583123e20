#pragma once

#include "formats/flac/FlacDescription.h"
#include "formats/streams/BufferedWriter.h"

#include <FLAC/stream_encoder.h>
#include <optional>
#include <span>
#include <vector>

namespace velloria
{

/// Writes one FLAC file, on its own or in Ogg, with the library's default settings. One thread at a time.
class FlacEncoder
{
public:
    /// `numFrames` is what the file will hold; a serial number puts the stream into Ogg pages.
    FlacEncoder(std::shared_ptr<FileHandle> handle, const FlacFormat& format, int64_t numFrames,
                std::optional<int> oggSerialNumber = std::nullopt);

    /// Writes the metadata. A seek table has a point for every ten seconds.
    MaybeError start(const QList<VorbisComments::Entry>& comments, const FlacExtras& extras = {});
    /// channels[c] holds integers of the format's size.
    MaybeError encode(std::span<const int32_t* const> channels, int64_t numFrames);
    /// Writes what is left, and the final numbers into the header. Also after an error, to end decently.
    MaybeError finish();

private:
    struct Callbacks;
    struct EncoderDeleter {
        void operator()(FLAC__StreamEncoder* encoder) const { FLAC__stream_encoder_delete(encoder); }
    };
    struct MetadataDeleter {
        void operator()(FLAC__StreamMetadata* block) const;
    };
    using Metadata = std::unique_ptr<FLAC__StreamMetadata, MetadataDeleter>;

    static Metadata encoderMetadata(const QList<VorbisComments::Entry>& comments);
    Metadata seekTable() const;
    static Metadata padding(int64_t length);
    FLAC__StreamEncoderInitStatus initialise(bool isStreamable);
    Error failure() const;

    BufferedWriter mWriter;
    const FlacFormat mFormat;
    const int64_t mNumFrames;
    const std::optional<int> mOggSerialNumber;
    /// They outlive the encoder, which refers to them.
    std::vector<Metadata> mMetadata;
    std::unique_ptr<FLAC__StreamEncoder, EncoderDeleter> mEncoder;
};

} // namespace velloria
