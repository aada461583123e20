#include "formats/flac/FlacEncoder.h"

#include "formats/flac/FlacEncoderStart.h"
#include "formats/flac/FlacFrameSink.h"
#include "platform/Log.h"

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
    mSeekTable = FlacSeekTable::inPlaceOf(mBlocks, mNumFrames);
    const FlacEncoderStart::Callbacks callbacks = {Callbacks::write, Callbacks::seek, Callbacks::tell, this};
    const FLAC__StreamEncoderInitStatus status =
        FlacEncoderStart::start(*mEncoder, mFormat, mNumFrames, 0, callbacks);
    if (status != FLAC__STREAM_ENCODER_INIT_STATUS_OK) {
        logLine(
            QStringLiteral("FLAC__stream_encoder_init_stream() error: %1.").arg(static_cast<int>(status)));
        return failure();
    }
    mHasStarted = true;
    mSink->start(streamInfo(), mBlocks);
    return mSink->error();
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
        mSeekTable->putInto(mBlocks);
    if (MaybeError error = mSink->finish(streamInfo(), mBlocks))
        return error;
    return isFinished ? std::nullopt : MaybeError(failure());
}

Error FlacEncoder::failure() const
{
    if (const MaybeError error = mSink->error())
        return *error;
    return FlacEncoderStart::refusal(mFormat);
}

} // namespace velloria
