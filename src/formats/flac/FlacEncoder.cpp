#include "formats/flac/FlacEncoder.h"

#include "platform/Log.h"

#include <FLAC/metadata.h>
#include <algorithm>
#include <limits>

namespace velloria
{

namespace
{

FLAC__StreamMetadata_VorbisComment_Entry commentEntry(QByteArray& text)
{
    return {static_cast<FLAC__uint32>(text.size()), reinterpret_cast<FLAC__byte*>(text.data())};
}

} // namespace

/// What the library calls; `client` is the FlacEncoder.
struct FlacEncoder::Callbacks {
    static FlacEncoder& self(void* client) { return *static_cast<FlacEncoder*>(client); }

    static FLAC__StreamEncoderWriteStatus write(const FLAC__StreamEncoder*, const FLAC__byte buffer[],
                                                size_t numBytes, uint32_t, uint32_t, void* client)
    {
        self(client).mWriter.write(std::as_bytes(std::span(buffer, numBytes)));
        return self(client).mWriter.error() ? FLAC__STREAM_ENCODER_WRITE_STATUS_FATAL_ERROR
                                            : FLAC__STREAM_ENCODER_WRITE_STATUS_OK;
    }

    /// The numbers in the first page are completed at the end.
    static FLAC__StreamEncoderReadStatus read(const FLAC__StreamEncoder*, FLAC__byte buffer[],
                                              size_t* numBytes, void* client)
    {
        const std::span<FLAC__byte> out(buffer, *numBytes);
        *numBytes = static_cast<size_t>(self(client).mWriter.read(std::as_writable_bytes(out)));
        return *numBytes > 0 ? FLAC__STREAM_ENCODER_READ_STATUS_CONTINUE
                             : FLAC__STREAM_ENCODER_READ_STATUS_END_OF_STREAM;
    }

    static FLAC__StreamEncoderSeekStatus seek(const FLAC__StreamEncoder*, FLAC__uint64 offset, void* client)
    {
        self(client).mWriter.setPosition(static_cast<int64_t>(offset));
        return self(client).mWriter.error() ? FLAC__STREAM_ENCODER_SEEK_STATUS_ERROR
                                            : FLAC__STREAM_ENCODER_SEEK_STATUS_OK;
    }

    static FLAC__StreamEncoderTellStatus tell(const FLAC__StreamEncoder*, FLAC__uint64* offset, void* client)
    {
        *offset = static_cast<FLAC__uint64>(self(client).mWriter.position());
        return FLAC__STREAM_ENCODER_TELL_STATUS_OK;
    }
};

void FlacEncoder::MetadataDeleter::operator()(FLAC__StreamMetadata* block) const
{
    FLAC__metadata_object_delete(block);
}

FlacEncoder::FlacEncoder(std::shared_ptr<FileHandle> handle, const FlacFormat& format, int64_t numFrames,
                         std::optional<int> oggSerialNumber)
    : mWriter(std::move(handle))
    , mFormat(format)
    , mNumFrames(numFrames)
    , mOggSerialNumber(oggSerialNumber)
    , mEncoder(FLAC__stream_encoder_new())
{
}

/// Null when there is nothing to say.
FlacEncoder::Metadata FlacEncoder::encoderMetadata(const QList<VorbisComments::Entry>& comments)
{
    if (comments.isEmpty())
        return nullptr;
    Metadata block(FLAC__metadata_object_new(FLAC__METADATA_TYPE_VORBIS_COMMENT));
    if (!block)
        return nullptr;
    QByteArray vendor("Velloria, libFLAC 1.2.1");
    FLAC__metadata_object_vorbiscomment_set_vendor_string(block.get(), commentEntry(vendor), true);
    for (const VorbisComments::Entry& comment : comments) {
        QByteArray text = comment.key + '=' + comment.value;
        FLAC__metadata_object_vorbiscomment_append_comment(block.get(), commentEntry(text), true);
    }
    return block;
}

/// The encoder fills in where the frames are. Null when there is no frame to find.
FlacEncoder::Metadata FlacEncoder::seekTable() const
{
    constexpr uint32_t secondsPerPoint = 10;
    constexpr uint32_t longestStep = std::numeric_limits<uint32_t>::max() / secondsPerPoint;
    Metadata block(mNumFrames > 0 ? FLAC__metadata_object_new(FLAC__METADATA_TYPE_SEEKTABLE) : nullptr);
    const uint32_t step = secondsPerPoint * std::clamp(mFormat.sampleRate, 1U, longestStep);
    const bool isFilled = block &&
                          FLAC__metadata_object_seektable_template_append_spaced_points_by_samples(
                              block.get(), step, static_cast<FLAC__uint64>(mNumFrames)) &&
                          FLAC__metadata_object_seektable_template_sort(block.get(), true);
    return isFilled ? std::move(block) : nullptr;
}

FlacEncoder::Metadata FlacEncoder::padding(int64_t length)
{
    constexpr int64_t longestBlock = (int64_t{1} << 24) - 1;
    Metadata block(FLAC__metadata_object_new(FLAC__METADATA_TYPE_PADDING));
    if (block)
        block->length = static_cast<uint32_t>(std::min(length, longestBlock));
    return block;
}

MaybeError FlacEncoder::start(const QList<VorbisComments::Entry>& comments, const FlacExtras& extras)
{
    if (!mEncoder) {
        logLine(QStringLiteral("FLAC__stream_encoder_new() could not create a decoder instance."));
        return Error{Error::Code::failed, QStringLiteral("The FLAC encoder could not be started.")};
    }
    // Pages of Ogg have their positions; and tags there are no block that could grow into another.
    mMetadata.push_back(extras.hasSeekTable && !mOggSerialNumber ? seekTable() : nullptr);
    mMetadata.push_back(encoderMetadata(comments));
    mMetadata.push_back(extras.paddingLength > 0 && !mOggSerialNumber ? padding(extras.paddingLength)
                                                                      : nullptr);
    std::erase(mMetadata, nullptr);
    FLAC__StreamEncoderInitStatus status = initialise(true);
    // Rates and sizes that are out of the ordinary are only told in the file's header then, not in every
    // frame; every decoder of files can do with that.
    if (status == FLAC__STREAM_ENCODER_INIT_STATUS_NOT_STREAMABLE)
        status = initialise(false);
    if (status == FLAC__STREAM_ENCODER_INIT_STATUS_OK)
        return std::nullopt;
    logLine(QStringLiteral("FLAC__stream_encoder_init_stream() error: %1.").arg(static_cast<int>(status)));
    return failure();
}

FLAC__StreamEncoderInitStatus FlacEncoder::initialise(bool isStreamable)
{
    FLAC__StreamEncoder* const encoder = mEncoder.get();
    FLAC__stream_encoder_set_streamable_subset(encoder, isStreamable);
    FLAC__stream_encoder_set_channels(encoder, mFormat.numChannels);
    FLAC__stream_encoder_set_bits_per_sample(encoder, mFormat.bitsPerSample);
    FLAC__stream_encoder_set_sample_rate(encoder, mFormat.sampleRate);
    FLAC__stream_encoder_set_total_samples_estimate(encoder, static_cast<FLAC__uint64>(mNumFrames));
    std::vector<FLAC__StreamMetadata*> blocks;
    for (const Metadata& block : mMetadata)
        blocks.push_back(block.get());
    if (!blocks.empty())
        FLAC__stream_encoder_set_metadata(encoder, blocks.data(), static_cast<uint32_t>(blocks.size()));
    if (mOggSerialNumber) {
        FLAC__stream_encoder_set_ogg_serial_number(encoder, *mOggSerialNumber);
        return FLAC__stream_encoder_init_ogg_stream(encoder, Callbacks::read, Callbacks::write,
                                                    Callbacks::seek, Callbacks::tell, nullptr, this);
    }
    return FLAC__stream_encoder_init_stream(encoder, Callbacks::write, Callbacks::seek, Callbacks::tell,
                                            nullptr, this);
}

MaybeError FlacEncoder::encode(std::span<const int32_t* const> channels, int64_t numFrames)
{
    if (FLAC__stream_encoder_process(mEncoder.get(), channels.data(), static_cast<uint32_t>(numFrames)))
        return std::nullopt;
    return failure();
}

MaybeError FlacEncoder::finish()
{
    const bool isFinished = mEncoder && FLAC__stream_encoder_finish(mEncoder.get());
    return isFinished && !mWriter.finish() ? std::nullopt : MaybeError(failure());
}

Error FlacEncoder::failure() const
{
    if (mWriter.error())
        return *mWriter.error();
    return {Error::Code::failed, QStringLiteral("FLAC files cannot hold %1 channels of %2 bits at %3 Hz.")
                                     .arg(mFormat.numChannels)
                                     .arg(mFormat.bitsPerSample)
                                     .arg(mFormat.sampleRate)};
}

} // namespace velloria
