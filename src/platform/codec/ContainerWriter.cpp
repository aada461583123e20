#include "platform/codec/ContainerWriter.h"

#include <algorithm>
#include <vector>

namespace velloria
{

namespace
{

// What readers drop from the start of an ADTS file.
constexpr int64_t kPrimingFramesOfAdts = 2112;
// Tables that do not grow with the length, and room for tags behind them.
constexpr int64_t kFixedTableBytes = 8192;

/// More than the tables of an MPEG-4 file take: 4 bytes a packet, 16 a chunk (of at most 1 MiB).
int64_t tableBytes(int64_t numFrames, const PacketEncoder& encoder)
{
    const int64_t numPackets = (numFrames + encoder.primingFrames()) / encoder.framesPerPacket() + 4;
    const int64_t maxSoundBytes = numFrames * encoder.codec().ch_layout.nb_channels * 4;
    return kFixedTableBytes + 4 * numPackets + 16 * (maxSoundBytes >> 20);
}

} // namespace

ContainerWriter::ContainerWriter(const std::shared_ptr<FileHandle>& handle, FourCharCode type)
    : mIo(handle, FileIoContext::Mode::writing)
    , mType(type)
{
}

ContainerWriter::~ContainerWriter()
{
    if (mFormat)
        FFmpegLibraries::loaded().avformat_free_context(mFormat);
}

std::unique_ptr<ContainerWriter> ContainerWriter::create(const std::shared_ptr<FileHandle>& handle,
                                                         FourCharCode type, const StreamDescription& format,
                                                         const Options& options, MaybeError* error)
{
    auto encoder = PacketEncoder::create(format, options.bitRate, error);
    if (!encoder)
        return nullptr;
    std::unique_ptr<ContainerWriter> writer(new ContainerWriter(handle, type));
    writer->mEncoder = std::move(encoder);
    MaybeError failure = writer->openContainer(options);
    if (!failure && type == ContainerType::kAdts) {
        writer->mNumSilentFrames = kPrimingFramesOfAdts - writer->mEncoder->primingFrames();
        failure = writer->writeFloats(std::vector<float>(
            static_cast<size_t>(writer->mNumSilentFrames) * format.channelsPerFrame(), 0.0F));
    }
    if (!failure)
        return writer;
    if (error)
        *error = failure;
    return nullptr;
}

MaybeError ContainerWriter::openContainer(const Options& options)
{
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    const bool isMpeg4 = mType == ContainerType::kMpeg4;
    av.avformat_alloc_output_context2(&mFormat, nullptr, isMpeg4 ? "ipod" : "adts", nullptr);
    AVStream* const stream = mFormat && mIo.context() ? av.avformat_new_stream(mFormat, nullptr) : nullptr;
    if (!stream)
        return Error{Error::Code::failed, QStringLiteral("There is not enough memory to write the file.")};
    mFormat->pb = mIo.context();
    // Without this the container names FFmpeg as the program that made the file.
    mFormat->flags |= AVFMT_FLAG_BITEXACT;
    stream->time_base = {1, mEncoder->codec().sample_rate};
    av.avcodec_parameters_from_context(stream->codecpar, &mEncoder->codec());
    AVDictionary* muxerOptions = nullptr;
    if (isMpeg4) {
        const auto setNumber = [&av, &muxerOptions](const char* key, int64_t value) {
            av.av_dict_set(&muxerOptions, key, QByteArray::number(static_cast<qlonglong>(value)).constData(),
                           0);
        };
        // The clock of the edit list: one tick a frame.
        setNumber("movie_timescale", mEncoder->codec().sample_rate);
        if (options.numFrames > 0)
            setNumber("moov_size", tableBytes(options.numFrames, *mEncoder));
    }
    const int status = av.avformat_write_header(mFormat, &muxerOptions);
    av.av_dict_free(&muxerOptions);
    return status < 0 ? failure() : std::nullopt;
}

MaybeError ContainerWriter::failure() const
{
    if (mIo.writeError())
        return mIo.writeError();
    return Error{Error::Code::writeFailed,
                 QStringLiteral("The compressed sound could not be laid out in the file.")};
}

MaybeError ContainerWriter::writePacket(AVPacket& packet)
{
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    packet.stream_index = 0;
    av.av_packet_rescale_ts(&packet, mEncoder->codec().time_base, mFormat->streams[0]->time_base);
    ++mNumPackets;
    const int status = av.av_interleaved_write_frame(mFormat, &packet);
    return status < 0 || mIo.writeError() ? failure() : std::nullopt;
}

MaybeError ContainerWriter::writeFloats(std::span<const float> interleaved)
{
    return mEncoder->encode(interleaved, [this](AVPacket& packet) { return writePacket(packet); });
}

MaybeError ContainerWriter::finish()
{
    MaybeError error = mEncoder->finish([this](AVPacket& packet) { return writePacket(packet); });
    if (error)
        return error;
    const int status = FFmpegLibraries::loaded().av_write_trailer(mFormat);
    return status < 0 || mIo.writeError() ? failure() : std::nullopt;
}

PacketTable ContainerWriter::packetTable() const
{
    const bool hasShortLast = mEncoder->codec().codec_id == AV_CODEC_ID_ALAC;
    PacketTable table;
    table.primingFrames = mEncoder->primingFrames() + mNumSilentFrames;
    table.numberOfValidFrames = mEncoder->numFramesEncoded() - mNumSilentFrames;
    const int64_t numDecoded =
        hasShortLast ? mEncoder->numFramesEncoded() : mNumPackets * mEncoder->framesPerPacket();
    table.remainderFrames =
        std::max<int64_t>(0, numDecoded - table.primingFrames - table.numberOfValidFrames);
    return table;
}

} // namespace velloria
