#include "platform/codec/ContainerWriter.h"

namespace velloria
{

namespace
{

// Tables that do not grow with the length.
constexpr int64_t kFixedTableBytes = 4096;

/// More than the tables of an MPEG-4 file take: 4 bytes a packet, 16 a chunk (of at most 1 MiB).
int64_t tableBytes(int64_t numFrames, const PacketEncoder& encoder)
{
    const int64_t numPackets = (numFrames + encoder.primingFrames()) / encoder.framesPerPacket() + 4;
    const int64_t maxSoundBytes = numFrames * encoder.codec().ch_layout.nb_channels * 4;
    return kFixedTableBytes + 4 * numPackets + 16 * (maxSoundBytes >> 20);
}

} // namespace

ContainerWriter::ContainerWriter(const std::shared_ptr<FileHandle>& handle, FourCharCode type,
                                 const Options& options)
    : mHandle(handle)
    , mType(type)
    , mOptions(options)
{
}

ContainerWriter::~ContainerWriter()
{
    if (mFormat)
        FFmpegLibraries::loaded().avformat_free_context(mFormat);
}

MaybeError ContainerWriter::begin(const PacketEncoder& encoder)
{
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    const bool isMpeg4 = mType != ContainerType::kAdts;
    const char* const muxer = mType == ContainerType::kMpeg4 ? "ipod" : isMpeg4 ? "mov" : "adts";
    mEncoder = &encoder;
    mIo = std::make_unique<FileIoContext>(mHandle, FileIoContext::Mode::writing, mOptions.start);
    av.avformat_alloc_output_context2(&mFormat, nullptr, muxer, nullptr);
    AVStream* const stream = mFormat && mIo->context() ? av.avformat_new_stream(mFormat, nullptr) : nullptr;
    if (!stream)
        return Error{Error::Code::failed, QStringLiteral("There is not enough memory to write the file.")};
    mFormat->pb = mIo->context();
    // Without this the container names FFmpeg as the program that made the file.
    mFormat->flags |= AVFMT_FLAG_BITEXACT;
    stream->time_base = {1, encoder.codec().sample_rate};
    av.avcodec_parameters_from_context(stream->codecpar, &encoder.codec());
    AVDictionary* muxerOptions = nullptr;
    if (isMpeg4) {
        const auto setNumber = [&av, &muxerOptions](const char* key, int64_t value) {
            av.av_dict_set(&muxerOptions, key, QByteArray::number(static_cast<qlonglong>(value)).constData(),
                           0);
        };
        // The clock of the edit list: one tick a frame.
        setNumber("movie_timescale", encoder.codec().sample_rate);
        if (mOptions.numFrames > 0)
            setNumber("moov_size", tableBytes(mOptions.numFrames, encoder) + mOptions.numReservedBytes);
    }
    const int status = av.avformat_write_header(mFormat, &muxerOptions);
    av.av_dict_free(&muxerOptions);
    return status < 0 ? failure() : std::nullopt;
}

MaybeError ContainerWriter::failure() const
{
    if (mIo->writeError())
        return mIo->writeError();
    return Error{Error::Code::writeFailed,
                 QStringLiteral("The compressed sound could not be laid out in the file.")};
}

MaybeError ContainerWriter::writePacket(AVPacket& packet)
{
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    packet.stream_index = 0;
    av.av_packet_rescale_ts(&packet, mEncoder->codec().time_base, mFormat->streams[0]->time_base);
    const int status = av.av_interleaved_write_frame(mFormat, &packet);
    return status < 0 || mIo->writeError() ? failure() : std::nullopt;
}

MaybeError ContainerWriter::finish(const PacketTable& /*table*/)
{
    const int status = FFmpegLibraries::loaded().av_write_trailer(mFormat);
    return status < 0 || mIo->writeError() ? failure() : std::nullopt;
}

} // namespace velloria
