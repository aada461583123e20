#include "platform/codec/PacketEncoder.h"

#include "platform/codec/AudioFormats.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

// For encodings without packets of their own: frames that are encoded at a time.
constexpr int kFramesPerRun = 4096;
// Far above full scale, and still what the AAC encoder takes for a number.
constexpr float kLargestSample = 1024.0F;

struct EncoderChoice {
    AVCodecID codecID;
    AVSampleFormat sampleFormat;
};

std::optional<EncoderChoice> encoderOf(const StreamDescription& format)
{
    switch (format.formatID()) {
    case DataFormat::kAac:
        return EncoderChoice{AV_CODEC_ID_AAC, AV_SAMPLE_FMT_FLTP};
    case DataFormat::kAppleLossless:
        return EncoderChoice{AV_CODEC_ID_ALAC, appleLosslessBits(format.formatFlags()) > 16
                                                   ? AV_SAMPLE_FMT_S32P
                                                   : AV_SAMPLE_FMT_S16P};
    case DataFormat::kIma4:
        return EncoderChoice{AV_CODEC_ID_ADPCM_IMA_QT, AV_SAMPLE_FMT_S16P};
    case DataFormat::kALaw:
        return EncoderChoice{AV_CODEC_ID_PCM_ALAW, AV_SAMPLE_FMT_S16};
    case DataFormat::kMuLaw:
        return EncoderChoice{AV_CODEC_ID_PCM_MULAW, AV_SAMPLE_FMT_S16};
    default:
        return std::nullopt;
    }
}

Error cannotEncode(const StreamDescription& format)
{
    const auto info = audioFormatInfo(format.formatID());
    return {Error::Code::unsupported, QStringLiteral("%1 cannot hold %2 channels at %3 Hz.")
                                          .arg(info ? info->name : QStringLiteral("The format"))
                                          .arg(format.channelsPerFrame())
                                          .arg(format.sampleRate())};
}

/// The usual layout of so many channels, unless the encoder wants another. (Neither owns memory.)
AVChannelLayout layoutOf(const AVCodec& codec, int numChannels)
{
    AVChannelLayout usual = {};
    FFmpegLibraries::loaded().av_channel_layout_default(&usual, numChannels);
    // The usual third channel is for low frequencies only, which would take away most of a plain track.
    constexpr AVChannelLayout threeWide = AV_CHANNEL_LAYOUT_SURROUND;
    if (numChannels == threeWide.nb_channels)
        usual = threeWide;
    AVChannelLayout wanted = usual;
    for (const AVChannelLayout* each = codec.ch_layouts; each && each->nb_channels > 0; ++each) {
        if (each->order != AV_CHANNEL_ORDER_NATIVE || each->nb_channels != numChannels)
            continue;
        wanted = *each;
        if (each->u.mask == usual.u.mask)
            break;
    }
    return wanted;
}

/// The nearest integer of 16 bits, or of 24 bits in the upper part of 32.
template <typename Integer> Integer quantised(float sample)
{
    constexpr int bits = sizeof(Integer) == 2 ? 16 : 24;
    constexpr float scale = static_cast<float>(1 << (bits - 1));
    const float clean = std::isfinite(sample) ? sample : 0.0F;
    const auto nearest = std::lrint(std::clamp(clean * scale, -scale, scale - 1.0F));
    return static_cast<Integer>(nearest * (sizeof(Integer) == 2 ? 1 : 256));
}

template <typename Integer>
void fillIntegers(AVFrame& frame, std::span<const float> interleaved, size_t numChannels, bool isPlanar)
{
    for (size_t c = 0; c < numChannels; ++c) {
        auto* out = reinterpret_cast<Integer*>(frame.extended_data[isPlanar ? c : 0]) + (isPlanar ? 0 : c);
        for (size_t i = c; i < interleaved.size(); i += numChannels) {
            *out = quantised<Integer>(interleaved[i]);
            out += isPlanar ? 1 : numChannels;
        }
    }
}

void fillFloats(AVFrame& frame, std::span<const float> interleaved, size_t numChannels)
{
    for (size_t c = 0; c < numChannels; ++c) {
        auto* out = reinterpret_cast<float*>(frame.extended_data[c]);
        for (size_t i = c; i < interleaved.size(); i += numChannels) {
            const float sample = std::isfinite(interleaved[i]) ? interleaved[i] : 0.0F;
            *out++ = std::clamp(sample, -kLargestSample, kLargestSample);
        }
    }
}

} // namespace

std::unique_ptr<PacketEncoder> PacketEncoder::create(const StreamDescription& format, int64_t bitRate,
                                                     MaybeError* error)
{
    if (!FFmpegLibraries::load(error))
        return nullptr;
    std::unique_ptr<PacketEncoder> encoder(new PacketEncoder);
    const MaybeError failure = encoder->openCodec(format, bitRate);
    if (!failure)
        return encoder;
    if (error)
        *error = failure;
    return nullptr;
}

MaybeError PacketEncoder::openCodec(const StreamDescription& format, int64_t bitRate)
{
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    const auto choice = encoderOf(format);
    const AVCodec* const codec = choice ? av.avcodec_find_encoder(choice->codecID) : nullptr;
    mCodec.reset(codec ? av.avcodec_alloc_context3(codec) : nullptr);
    mFrame.reset(av.av_frame_alloc());
    mPacket.reset(av.av_packet_alloc());
    const double rate = format.sampleRate();
    mNumChannels = format.channelsPerFrame();
    const bool isSane = mCodec && mFrame && mPacket && mNumChannels >= 1 && mNumChannels <= 64 &&
                        rate >= 1.0 && rate == std::floor(rate) && rate <= 1e7;
    if (!isSane)
        return cannotEncode(format);
    mCodec->sample_rate = static_cast<int>(rate);
    mCodec->sample_fmt = choice->sampleFormat;
    mCodec->time_base = {1, mCodec->sample_rate};
    mCodec->bit_rate = bitRate;
    mCodec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    mCodec->bits_per_raw_sample = choice->sampleFormat == AV_SAMPLE_FMT_S32P ? 24 : 0;
    mCodec->ch_layout = layoutOf(*codec, static_cast<int>(mNumChannels));
    if (av.avcodec_open2(mCodec.get(), codec, nullptr) < 0)
        return cannotEncode(format);
    mFramesPerSend = static_cast<size_t>(mCodec->frame_size > 0 ? mCodec->frame_size : kFramesPerRun);
    mPending.reserve(mFramesPerSend * mNumChannels);
    return std::nullopt;
}

int64_t PacketEncoder::numFramesPending() const
{
    return static_cast<int64_t>(mPending.size() / mNumChannels);
}

QByteArray PacketEncoder::magicCookie() const
{
    return {reinterpret_cast<const char*>(mCodec->extradata), mCodec->extradata_size};
}

MaybeError PacketEncoder::encode(std::span<const float> interleaved, const Sink& sink)
{
    const size_t samplesPerSend = mFramesPerSend * mNumChannels;
    while (mPending.size() + interleaved.size() >= samplesPerSend) {
        MaybeError error;
        if (mPending.empty()) {
            error = sendFrame(interleaved.first(samplesPerSend), sink);
            interleaved = interleaved.subspan(samplesPerSend);
        } else {
            const size_t missing = samplesPerSend - mPending.size();
            mPending.insert(mPending.end(), interleaved.begin(),
                            interleaved.begin() + static_cast<ptrdiff_t>(missing));
            interleaved = interleaved.subspan(missing);
            error = sendFrame(mPending, sink);
            mPending.clear();
        }
        if (error)
            return error;
    }
    mPending.insert(mPending.end(), interleaved.begin(), interleaved.end());
    return std::nullopt;
}

MaybeError PacketEncoder::finish(const Sink& sink)
{
    if (!mPending.empty()) {
        if (MaybeError error = sendFrame(mPending, sink))
            return error;
        mPending.clear();
    }
    FFmpegLibraries::loaded().avcodec_send_frame(mCodec.get(), nullptr);
    return receivePackets(sink);
}

MaybeError PacketEncoder::sendFrame(std::span<const float> interleaved, const Sink& sink)
{
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    AVFrame& frame = *mFrame;
    av.av_frame_unref(&frame);
    frame.nb_samples = static_cast<int>(interleaved.size() / mNumChannels);
    frame.format = mCodec->sample_fmt;
    frame.sample_rate = mCodec->sample_rate;
    frame.pts = mNumFramesSent;
    frame.ch_layout = mCodec->ch_layout;
    if (av.av_frame_get_buffer(&frame, 0) < 0)
        return Error{Error::Code::failed, QStringLiteral("There is not enough memory to encode the sound.")};
    fillFrame(interleaved);
    mNumFramesSent += frame.nb_samples;
    if (av.avcodec_send_frame(mCodec.get(), &frame) < 0)
        return Error{Error::Code::failed, QStringLiteral("The sound could not be encoded.")};
    return receivePackets(sink);
}

void PacketEncoder::fillFrame(std::span<const float> interleaved)
{
    switch (mCodec->sample_fmt) {
    case AV_SAMPLE_FMT_FLTP:
        return fillFloats(*mFrame, interleaved, mNumChannels);
    case AV_SAMPLE_FMT_S32P:
        return fillIntegers<int32_t>(*mFrame, interleaved, mNumChannels, true);
    default:
        return fillIntegers<int16_t>(*mFrame, interleaved, mNumChannels,
                                     mCodec->sample_fmt == AV_SAMPLE_FMT_S16P);
    }
}

MaybeError PacketEncoder::receivePackets(const Sink& sink)
{
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    while (av.avcodec_receive_packet(mCodec.get(), mPacket.get()) >= 0) {
        MaybeError error = sink(*mPacket);
        av.av_packet_unref(mPacket.get());
        if (error)
            return error;
    }
    return std::nullopt;
}

} // namespace velloria
