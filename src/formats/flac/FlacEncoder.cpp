#include "formats/flac/FlacEncoder.h"

#include "formats/flac/FlacFrameSink.h"
#include "platform/Log.h"

#include <algorithm>

namespace velloria
{

namespace
{

// Of the stream's name, and of the description behind it.
constexpr qsizetype nameLength = 4;
constexpr qsizetype streamInfoLength = 34;
constexpr qsizetype streamInfoOffset = nameLength + FlacLayout::Block::headerLength;

} // namespace

/// What the library calls; `client` is the FlacEncoder. It sees a file with a head of its own making.
struct FlacEncoder::Callbacks {
    static FlacEncoder& self(void* client) { return *static_cast<FlacEncoder*>(client); }

    static FLAC__StreamEncoderWriteStatus write(const FLAC__StreamEncoder*, const FLAC__byte buffer[],
                                                size_t numBytes, uint32_t numFrames, uint32_t, void* client)
    {
        FlacEncoder& encoder = self(client);
        const std::span bytes(buffer, numBytes);
        if (numFrames > 0) {
            encoder.takeFrame(std::as_bytes(bytes), numFrames);
        } else {
            const QByteArray part(reinterpret_cast<const char*>(buffer), std::ssize(bytes));
            encoder.mHead.replace(encoder.mHeadPosition, part.size(), part);
            encoder.mHeadPosition += part.size();
        }
        return encoder.mSink->error() ? FLAC__STREAM_ENCODER_WRITE_STATUS_FATAL_ERROR
                                      : FLAC__STREAM_ENCODER_WRITE_STATUS_OK;
    }

    /// The numbers in the description are completed at the end.
    static FLAC__StreamEncoderSeekStatus seek(const FLAC__StreamEncoder*, FLAC__uint64 offset, void* client)
    {
        FlacEncoder& encoder = self(client);
        if (offset > static_cast<FLAC__uint64>(encoder.mHead.size()))
            return FLAC__STREAM_ENCODER_SEEK_STATUS_ERROR;
        encoder.mHeadPosition = static_cast<qsizetype>(offset);
        return FLAC__STREAM_ENCODER_SEEK_STATUS_OK;
    }

    static FLAC__StreamEncoderTellStatus tell(const FLAC__StreamEncoder*, FLAC__uint64* offset, void* client)
    {
        const FlacEncoder& encoder = self(client);
        *offset = static_cast<FLAC__uint64>(encoder.mHeadPosition + encoder.mNumBytesWritten);
        return FLAC__STREAM_ENCODER_TELL_STATUS_OK;
    }
};

FlacEncoder::FlacEncoder(std::shared_ptr<FileHandle> handle, const FlacFormat& format, int64_t numFrames,
                         std::optional<int> oggSerialNumber)
    : mFormat(format)
    , mNumFrames(numFrames)
    , mSink(FlacFrameSink::create(std::move(handle), oggSerialNumber))
    , mEncoder(FLAC__stream_encoder_new())
{
}

FlacEncoder::~FlacEncoder() = default;

QByteArray FlacEncoder::vendor()
{
    return FLAC__VENDOR_STRING;
}

MaybeError FlacEncoder::start(FlacMetadataEdit::Blocks blocks)
{
    if (!mEncoder) {
        logLine(QStringLiteral("FLAC__stream_encoder_new() could not create a decoder instance."));
        return Error{Error::Code::failed, QStringLiteral("The FLAC encoder could not be started.")};
    }
    mBlocks = std::move(blocks);
    const auto seekTable =
        std::ranges::find(mBlocks, FLAC__METADATA_TYPE_SEEKTABLE, &FlacMetadataEdit::Block::type);
    if (seekTable != mBlocks.end()) {
        mSeekTable.emplace(seekTable->payload, mNumFrames);
        seekTable->payload = mSeekTable->payload();
    }
    FLAC__StreamEncoderInitStatus status = initialise(true);
    // Rates and sizes that are out of the ordinary are only told in the file's header then, not in every
    // frame; every decoder of files can do with that.
    if (status == FLAC__STREAM_ENCODER_INIT_STATUS_NOT_STREAMABLE)
        status = initialise(false);
    if (status != FLAC__STREAM_ENCODER_INIT_STATUS_OK) {
        logLine(
            QStringLiteral("FLAC__stream_encoder_init_stream() error: %1.").arg(static_cast<int>(status)));
        return failure();
    }
    mHasStarted = true;
    mSink->start(streamInfo(), mBlocks);
    return mSink->error();
}

FLAC__StreamEncoderInitStatus FlacEncoder::initialise(bool isStreamable)
{
    FLAC__StreamEncoder* const encoder = mEncoder.get();
    FLAC__stream_encoder_set_streamable_subset(encoder, isStreamable);
    FLAC__stream_encoder_set_channels(encoder, mFormat.numChannels);
    FLAC__stream_encoder_set_bits_per_sample(encoder, mFormat.bitsPerSample);
    FLAC__stream_encoder_set_sample_rate(encoder, mFormat.sampleRate);
    FLAC__stream_encoder_set_total_samples_estimate(encoder, static_cast<FLAC__uint64>(mNumFrames));
    return FLAC__stream_encoder_init_stream(encoder, Callbacks::write, Callbacks::seek, Callbacks::tell,
                                            nullptr, this);
}

void FlacEncoder::takeFrame(std::span<const std::byte> bytes, int64_t numFrames)
{
    if (mSeekTable)
        mSeekTable->didWrite(mNumFramesWritten, mNumBytesWritten, numFrames);
    mNumFramesWritten += numFrames;
    mNumBytesWritten += std::ssize(bytes);
    mSink->addFrame(bytes, mNumFramesWritten);
}

/// The library's own, as far as it is known.
QByteArray FlacEncoder::streamInfo() const
{
    return mHead.mid(streamInfoOffset, streamInfoLength);
}

MaybeError FlacEncoder::encode(std::span<const int32_t* const> channels, int64_t numFrames)
{
    if (FLAC__stream_encoder_process(mEncoder.get(), channels.data(), static_cast<uint32_t>(numFrames)))
        return std::nullopt;
    return failure();
}

MaybeError FlacEncoder::finish()
{
    if (!mHasStarted)
        return failure();
    const bool isFinished = FLAC__stream_encoder_finish(mEncoder.get());
    if (mSeekTable)
        std::ranges::find(mBlocks, FLAC__METADATA_TYPE_SEEKTABLE, &FlacMetadataEdit::Block::type)->payload =
            mSeekTable->payload();
    if (MaybeError error = mSink->finish(streamInfo(), mBlocks))
        return error;
    return isFinished ? std::nullopt : MaybeError(failure());
}

Error FlacEncoder::failure() const
{
    if (const MaybeError error = mSink->error())
        return *error;
    return {Error::Code::failed, QStringLiteral("FLAC files cannot hold %1 channels of %2 bits at %3 Hz.")
                                     .arg(mFormat.numChannels)
                                     .arg(mFormat.bitsPerSample)
                                     .arg(mFormat.sampleRate)};
}

} // namespace velloria
