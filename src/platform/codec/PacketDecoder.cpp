#include "platform/codec/PacketDecoder.h"

#include "platform/codec/CodecTable.h"

#include <QtEndian>
#include <algorithm>

namespace velloria
{

namespace
{

Error cannotDecode(const AVCodecParameters& parameters)
{
    const CodecEntry* const entry = codecEntry(parameters.codec_id);
    const QString name = entry ? QString::fromLatin1(fourCharText(entry->dataFormat)) : QString();
    return {Error::Code::unsupported,
            QStringLiteral(
                "The sound cannot be decoded (encoding \"%1\"): its parameters are damaged or not supported.")
                .arg(name)};
}

bool isSane(const AVCodecParameters& parameters)
{
    const bool hasSaneShape = parameters.ch_layout.nb_channels <= kMaxChannels &&
                              parameters.sample_rate >= 0 && parameters.sample_rate <= kMaxSampleRate;
    return hasSaneShape && framesPerPacketOfAppleLossless(parameters) <= kMaxFramesPerPacket;
}

const AVCodec* decoderOf(AVCodecID codecID)
{
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    const CodecEntry* const entry = codecEntry(codecID);
    if (!entry)
        return nullptr;
    const AVCodec* const chosen =
        entry->decoderName ? av.avcodec_find_decoder_by_name(entry->decoderName) : nullptr;
    return chosen ? chosen : av.avcodec_find_decoder(codecID);
}

/// One channel of a decoded frame from `from` on, scaled to floats.
template <typename Sample>
void copyScaled(const AVFrame& frame, int channel, bool isPlanar, int64_t from, std::span<float> out,
                float scale, float zero)
{
    const int64_t stride = isPlanar ? 1 : frame.ch_layout.nb_channels;
    const auto* const in = reinterpret_cast<const Sample*>(frame.extended_data[isPlanar ? channel : 0]) +
                           (isPlanar ? 0 : channel) + from * stride;
    const auto count = static_cast<int64_t>(out.size());
    if (stride == 1) {
        for (int64_t i = 0; i < count; ++i)
            out[static_cast<size_t>(i)] = (static_cast<float>(in[i]) - zero) * scale;
        return;
    }
    for (int64_t i = 0; i < count; ++i)
        out[static_cast<size_t>(i)] = (static_cast<float>(in[i * stride]) - zero) * scale;
}

void copyChannel(const AVFrame& frame, int channel, int64_t from, std::span<float> out)
{
    switch (frame.format) {
    case AV_SAMPLE_FMT_FLTP: {
        const auto* const in = reinterpret_cast<const float*>(frame.extended_data[channel]) + from;
        std::copy(in, in + out.size(), out.begin());
        return;
    }
    case AV_SAMPLE_FMT_FLT:
        return copyScaled<float>(frame, channel, false, from, out, 1.0F, 0.0F);
    case AV_SAMPLE_FMT_U8:
    case AV_SAMPLE_FMT_U8P:
        return copyScaled<uint8_t>(frame, channel, frame.format == AV_SAMPLE_FMT_U8P, from, out, 0x1p-7F,
                                   128.0F);
    case AV_SAMPLE_FMT_S16:
    case AV_SAMPLE_FMT_S16P:
        return copyScaled<int16_t>(frame, channel, frame.format == AV_SAMPLE_FMT_S16P, from, out, 0x1p-15F,
                                   0.0F);
    case AV_SAMPLE_FMT_S32:
    case AV_SAMPLE_FMT_S32P:
        return copyScaled<int32_t>(frame, channel, frame.format == AV_SAMPLE_FMT_S32P, from, out, 0x1p-31F,
                                   0.0F);
    case AV_SAMPLE_FMT_DBL:
    case AV_SAMPLE_FMT_DBLP:
        return copyScaled<double>(frame, channel, frame.format == AV_SAMPLE_FMT_DBLP, from, out, 1.0F, 0.0F);
    default:
        std::fill(out.begin(), out.end(), 0.0F);
    }
}

} // namespace

int64_t framesPerPacketOfAppleLossless(const AVCodecParameters& parameters)
{
    constexpr int offsetInCookie = 12;
    if (parameters.codec_id != AV_CODEC_ID_ALAC || parameters.extradata_size < offsetInCookie + 4)
        return 0;
    return qFromBigEndian<uint32_t>(parameters.extradata + offsetInCookie);
}

std::unique_ptr<PacketDecoder> PacketDecoder::open(const AVCodecParameters& parameters, MaybeError* error)
{
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    std::unique_ptr<PacketDecoder> decoder(new PacketDecoder);
    const AVCodec* const codec = decoderOf(parameters.codec_id);
    decoder->mCodec.reset(codec ? av.avcodec_alloc_context3(codec) : nullptr);
    decoder->mFrame.reset(av.av_frame_alloc());
    AVCodecContext* const context = decoder->mCodec.get();
    bool isOpen = context && decoder->mFrame && isSane(parameters) &&
                  av.avcodec_parameters_to_context(context, &parameters) >= 0;
    if (isOpen) {
        context->flags2 |= AV_CODEC_FLAG2_SKIP_MANUAL;
        context->thread_count = 1;
        context->max_samples = kMaxFramesPerPacket;
        // Else what a damaged packet decodes to would be handed out as sound.
        if (parameters.codec_id == AV_CODEC_ID_FLAC)
            context->err_recognition |= AV_EF_CRCCHECK | AV_EF_EXPLODE;
        isOpen = av.avcodec_open2(context, codec, nullptr) >= 0;
    }
    if (isOpen)
        return decoder;
    if (error)
        *error = cannotDecode(parameters);
    return nullptr;
}

bool PacketDecoder::send(const AVPacket& packet)
{
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    av.av_frame_unref(mFrame.get());
    mNumTaken = 0;
    // An empty packet would mean the end of the stream to the decoder.
    return packet.size > 0 && av.avcodec_send_packet(mCodec.get(), &packet) >= 0;
}

bool PacketDecoder::isSaneFrame() const
{
    return mFrame->nb_samples > 0 && mFrame->nb_samples <= kMaxFramesPerPacket &&
           mFrame->ch_layout.nb_channels > 0 && mFrame->ch_layout.nb_channels <= kMaxChannels;
}

int64_t PacketDecoder::numFramesAvailable()
{
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    while (mNumTaken >= mFrame->nb_samples) {
        mNumTaken = 0;
        if (av.avcodec_receive_frame(mCodec.get(), mFrame.get()) < 0)
            return 0;
        if (!isSaneFrame())
            av.av_frame_unref(mFrame.get());
        else
            break;
    }
    return mFrame->nb_samples - mNumTaken;
}

void PacketDecoder::take(int64_t numFrames, std::span<float* const> channels)
{
    const int numStored = mFrame->ch_layout.nb_channels;
    for (size_t c = 0; c < channels.size(); ++c) {
        const std::span<float> out(channels[c], static_cast<size_t>(numFrames));
        if (static_cast<int>(c) < numStored)
            copyChannel(*mFrame, static_cast<int>(c), mNumTaken, out);
        else if (numStored == 1)
            copyChannel(*mFrame, 0, mNumTaken, out);
        else
            std::fill(out.begin(), out.end(), 0.0F);
    }
    mNumTaken += numFrames;
}

} // namespace velloria
