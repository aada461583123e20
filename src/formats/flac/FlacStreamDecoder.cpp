#include "formats/flac/FlacStreamDecoder.h"

#include "platform/Log.h"

#include <algorithm>

namespace velloria
{

/// What the library calls; `client` is the FlacStreamDecoder.
struct FlacStreamDecoder::Callbacks {
    static FlacStreamDecoder& self(void* client) { return *static_cast<FlacStreamDecoder*>(client); }

    static FLAC__StreamDecoderReadStatus read(const FLAC__StreamDecoder*, FLAC__byte buffer[],
                                              size_t* numBytes, void* client)
    {
        FlacStreamDecoder& decoder = self(client);
        const int64_t numLeft = std::max<int64_t>(0, decoder.mEnd - decoder.mPosition);
        const std::span<FLAC__byte> out(buffer, std::min(*numBytes, static_cast<size_t>(numLeft)));
        *numBytes =
            static_cast<size_t>(decoder.mHandle->readAt(decoder.mPosition, std::as_writable_bytes(out)));
        decoder.mPosition += static_cast<int64_t>(*numBytes);
        return *numBytes > 0 ? FLAC__STREAM_DECODER_READ_STATUS_CONTINUE
                             : FLAC__STREAM_DECODER_READ_STATUS_END_OF_STREAM;
    }

    static FLAC__StreamDecoderSeekStatus seek(const FLAC__StreamDecoder*, FLAC__uint64 offset, void* client)
    {
        self(client).mPosition = self(client).mStart + static_cast<int64_t>(offset);
        return FLAC__STREAM_DECODER_SEEK_STATUS_OK;
    }

    static FLAC__StreamDecoderTellStatus tell(const FLAC__StreamDecoder*, FLAC__uint64* offset, void* client)
    {
        *offset = static_cast<FLAC__uint64>(self(client).mPosition - self(client).mStart);
        return FLAC__STREAM_DECODER_TELL_STATUS_OK;
    }

    static FLAC__StreamDecoderLengthStatus length(const FLAC__StreamDecoder*, FLAC__uint64* length,
                                                  void* client)
    {
        *length = static_cast<FLAC__uint64>(self(client).mEnd - self(client).mStart);
        return FLAC__STREAM_DECODER_LENGTH_STATUS_OK;
    }

    static FLAC__bool isAtEnd(const FLAC__StreamDecoder*, void* client)
    {
        return self(client).mPosition >= self(client).mEnd;
    }

    static FLAC__StreamDecoderWriteStatus write(const FLAC__StreamDecoder*, const FLAC__Frame* frame,
                                                const FLAC__int32* const channels[], void* client)
    {
        FlacStreamDecoder& decoder = self(client);
        decoder.noteGap();
        decoder.noteEnd();
        return decoder.mClient.didDecode(*frame, channels) ? FLAC__STREAM_DECODER_WRITE_STATUS_CONTINUE
                                                           : FLAC__STREAM_DECODER_WRITE_STATUS_ABORT;
    }

    static void metadata(const FLAC__StreamDecoder*, const FLAC__StreamMetadata* metadata, void* client)
    {
        self(client).mClient.didReadMetadata(*metadata);
    }

    static void error(const FLAC__StreamDecoder*, FLAC__StreamDecoderErrorStatus status, void* client)
    {
        self(client).mClient.didFail(status);
    }
};

FlacStreamDecoder::FlacStreamDecoder(std::shared_ptr<const FileHandle> handle, Container container,
                                     Client& client)
    : mHandle(std::move(handle))
    , mIsOgg(container.isOgg)
    , mClient(client)
    , mStart(container.start)
    , mPosition(mStart)
    , mEnd(std::max(mStart, container.end > 0 ? container.end : mHandle->length()))
    , mDecoder(FLAC__stream_decoder_new())
{
}

std::unique_ptr<FlacStreamDecoder> FlacStreamDecoder::open(std::shared_ptr<const FileHandle> handle,
                                                           Container container, Metadata metadata,
                                                           Client& client)
{
    std::unique_ptr<FlacStreamDecoder> decoder(new FlacStreamDecoder(std::move(handle), container, client));
    if (!decoder->mDecoder) {
        logLine(QStringLiteral("FLAC__stream_decoder_new() could not create a decoder instance."));
        return nullptr;
    }
    const FLAC__StreamDecoderInitStatus status = decoder->start(container, metadata);
    if (status == FLAC__STREAM_DECODER_INIT_STATUS_OK)
        return decoder;
    logLine(QStringLiteral("FLAC__stream_decoder_init_file() error: %1.").arg(static_cast<int>(status)));
    return nullptr;
}

FLAC__StreamDecoderInitStatus FlacStreamDecoder::start(Container container, Metadata metadata)
{
    if (metadata == Metadata::told)
        FLAC__stream_decoder_set_metadata_respond_all(mDecoder.get());
    else
        FLAC__stream_decoder_set_metadata_ignore_all(mDecoder.get());
    // Whoever wants the checksum computes it, also where several decoders share a file.
    FLAC__stream_decoder_set_md5_checking(mDecoder.get(), false);
    if (container.isOgg)
        FLAC__stream_decoder_set_ogg_serial_number(mDecoder.get(), container.serialNumber);
    auto* const init =
        container.isOgg ? FLAC__stream_decoder_init_ogg_stream : FLAC__stream_decoder_init_stream;
    return init(mDecoder.get(), Callbacks::read, Callbacks::seek, Callbacks::tell, Callbacks::length,
                Callbacks::isAtEnd, Callbacks::write, Callbacks::metadata, Callbacks::error, this);
}

bool FlacStreamDecoder::readMetadata()
{
    return FLAC__stream_decoder_process_until_end_of_metadata(mDecoder.get()) &&
           FLAC__stream_decoder_get_state(mDecoder.get()) < FLAC__STREAM_DECODER_END_OF_STREAM;
}

/// A damaged page of Ogg is dropped without a word and the frames that go with it are replaced by silence.
/// Only then does one step give more than one frame.
void FlacStreamDecoder::noteGap()
{
    if (++mNumFramesInStep == 2 && mIsOgg)
        mClient.didFail(FLAC__STREAM_DECODER_ERROR_STATUS_LOST_SYNC);
}

void FlacStreamDecoder::noteEnd()
{
    FLAC__uint64 position = 0;
    if (!mIsOgg && FLAC__stream_decoder_get_decode_position(mDecoder.get(), &position))
        mEndOfFrame = mStart + static_cast<int64_t>(position);
}

bool FlacStreamDecoder::decodeNext()
{
    mNumFramesInStep = 0;
    return FLAC__stream_decoder_process_single(mDecoder.get()) &&
           FLAC__stream_decoder_get_state(mDecoder.get()) < FLAC__STREAM_DECODER_END_OF_STREAM;
}

bool FlacStreamDecoder::seek(int64_t frame)
{
    mNumFramesInStep = 0;
    if (FLAC__stream_decoder_seek_absolute(mDecoder.get(), static_cast<FLAC__uint64>(frame)))
        return true;
    if (FLAC__stream_decoder_get_state(mDecoder.get()) == FLAC__STREAM_DECODER_SEEK_ERROR)
        FLAC__stream_decoder_flush(mDecoder.get());
    return false;
}

} // namespace velloria
