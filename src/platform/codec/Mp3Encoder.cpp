#include "platform/codec/Mp3Encoder.h"

#include "platform/Log.h"
#include "platform/codec/Mp3InfoPacket.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>

namespace velloria
{

namespace
{

constexpr size_t kFramesPerPass = 4096;
// More than the 1.25 bytes a frame and 7200 bytes that LAME asks for.
constexpr size_t kOutputBytes = 16384;
// Far above full scale, and still what the encoder takes for a number.
constexpr float kLargestSample = 16.0F;
constexpr int64_t kLowestStereoBitRate = 32000;

const LameLibrary& lame()
{
    return *LameLibrary::load();
}

void sayNothing(const char* /*format*/, va_list /*arguments*/) {}

void logIfFailed(const char* call, int status)
{
    if (status < 0)
        logLine(QStringLiteral("%1 error: %2").arg(QLatin1String(call)).arg(status));
}

Error encodingFailed()
{
    return {Error::Code::failed, QStringLiteral("The sound could not be encoded as MP3.")};
}

void scale(std::span<const float> in, float fullScale, std::vector<float>& out)
{
    out.resize(in.size());
    for (size_t i = 0; i < in.size(); ++i) {
        const float sample = std::isfinite(in[i]) ? in[i] : 0.0F;
        out[i] = fullScale * std::clamp(sample, -kLargestSample, kLargestSample);
    }
}

} // namespace

std::unique_ptr<Mp3Encoder> Mp3Encoder::create(const Options& options, MaybeError* error)
{
    MaybeError failure;
    std::unique_ptr<Mp3Encoder> encoder;
    if (isLameInstalled()) {
        encoder.reset(new Mp3Encoder);
        failure = encoder->configure(options);
    } else {
        failure = Error{Error::Code::unsupported,
                        QStringLiteral("MP3 files cannot be saved, because the library LAME "
                                       "(libmp3lame) is not installed.")};
    }
    if (!failure)
        return encoder;
    if (error)
        *error = failure;
    return nullptr;
}

MaybeError Mp3Encoder::configure(const Options& options)
{
    mLame = lame().lame_init();
    if (!mLame)
        return encodingFailed();
    mOutput.resize(kOutputBytes);
    mInputRate = options.sampleRate;
    lame().lame_set_errorf(mLame, &sayNothing);
    lame().lame_set_debugf(mLame, &sayNothing);
    lame().lame_set_msgf(mLame, &sayNothing);
    lame().lame_set_write_id3tag_automatic(mLame, 0);
    logIfFailed("lame_set_in_samplerate()", lame().lame_set_in_samplerate(mLame, options.sampleRate));
    logIfFailed("lame_set_num_channels()", lame().lame_set_num_channels(mLame, 2));
    logIfFailed("lame_set_bWriteVbrTag()", lame().lame_set_bWriteVbrTag(mLame, 0));
    logIfFailed("lame_set_brate()", lame().lame_set_brate(mLame, static_cast<int>(options.bitRate / 1000)));
    configureMode(options);
    const int status = lame().lame_init_params(mLame);
    logIfFailed("lame_init_params()", status);
    // At some bit rates LAME makes everything up to 0.4 dB softer, so that decoders to integers clip less.
    const float ownScale = lame().lame_get_scale(mLame);
    if (ownScale > 0.0F)
        mFullScale /= ownScale;
    if (status >= 0)
        return std::nullopt;
    return Error{Error::Code::unsupported,
                 QStringLiteral("MP3 files cannot hold sound of %1 Hz.").arg(options.sampleRate)};
}

void Mp3Encoder::configureMode(const Options& options)
{
    if (!options.insert) {
        if (options.isMono || options.bitRate < kLowestStereoBitRate)
            logIfFailed("lame_set_mode ()", lame().lame_set_mode(mLame, MONO));
        return;
    }
    const Insert& insert = *options.insert;
    const MPEG_mode mode = options.isMono ? MONO : insert.isJointStereo ? JOINT_STEREO : STEREO;
    logIfFailed("lame_set_mode ()", lame().lame_set_mode(mLame, mode));
    logIfFailed("lame_set_out_samplerate()", lame().lame_set_out_samplerate(mLame, options.sampleRate));
    logIfFailed("lame_set_disable_reservoir()",
                lame().lame_set_disable_reservoir(mLame, insert.hasReservoir ? 0 : 1));
    logIfFailed("lame_set_error_protection()",
                lame().lame_set_error_protection(mLame, insert.hasChecksums ? 1 : 0));
    logIfFailed("lame_set_no_short_blocks()",
                lame().lame_set_no_short_blocks(mLame, insert.hasShortWindows ? 0 : 1));
}

std::optional<Mp3Encoder::Output> Mp3Encoder::outputOf(const Options& options)
{
    if (!isLameInstalled())
        return std::nullopt;
    Mp3Encoder encoder;
    return encoder.configure(options) ? std::nullopt : std::optional(encoder.output());
}

Mp3Encoder::Output Mp3Encoder::output() const
{
    return {lame().lame_get_out_samplerate(mLame), int64_t{1000} * lame().lame_get_brate(mLame),
            lame().lame_get_mode(mLame) == MONO};
}

Mp3Encoder::~Mp3Encoder()
{
    if (mLame)
        logIfFailed("lame_close()", lame().lame_close(mLame));
}

MaybeError Mp3Encoder::encode(std::span<const float> left, std::span<const float> right, const Sink& sink)
{
    while (!left.empty()) {
        const size_t count = std::min(left.size(), kFramesPerPass);
        scale(left.first(count), mFullScale, mLeft);
        scale(right.first(count), mFullScale, mRight);
        left = left.subspan(count);
        right = right.subspan(count);
        const int numBytes =
            lame().lame_encode_buffer_float(mLame, mLeft.data(), mRight.data(), static_cast<int>(count),
                                            mOutput.data(), static_cast<int>(mOutput.size()));
        logIfFailed("lame_encode_buffer_float()", numBytes);
        mNumFramesIn += std::ssize(mLeft);
        if (MaybeError error = give(numBytes, sink))
            return error;
    }
    return std::nullopt;
}

MaybeError Mp3Encoder::finish(const Sink& sink)
{
    const int numBytes = lame().lame_encode_flush(mLame, mOutput.data(), static_cast<int>(mOutput.size()));
    logIfFailed("lame_encode_flush()", numBytes);
    return give(numBytes, sink);
}

/// Hands on what LAME made; a negative number is its error.
MaybeError Mp3Encoder::give(int numBytes, const Sink& sink)
{
    if (numBytes < 0)
        return encodingFailed();
    if (numBytes == 0)
        return std::nullopt;
    const auto bytes = std::as_bytes(std::span(mOutput).first(static_cast<size_t>(numBytes)));
    mChecksum = Mp3InfoPacket::checksumOf(bytes, mChecksum);
    mNumBytesOut += numBytes;
    return sink(bytes);
}

QByteArray Mp3Encoder::infoPacket() const
{
    const Output out = output();
    Mp3InfoPacket packet;
    packet.encoder = QByteArray("LAME") + lame().get_lame_short_version();
    packet.sampleRate = out.sampleRate;
    packet.inputRate = mInputRate;
    packet.isMono = out.isMono;
    packet.bitRate = out.bitRate;
    packet.lowpass = lame().lame_get_lowpassfreq(mLame);
    packet.numPackets = lame().lame_get_frameNum(mLame);
    packet.numBytes = mNumBytesOut;
    packet.checksum = mChecksum;
    packet.delay = lame().lame_get_encoder_delay(mLame);
    const double ratio = static_cast<double>(out.sampleRate) / mInputRate;
    const int64_t numFrames = std::llround(static_cast<double>(mNumFramesIn) * ratio);
    packet.padding = packet.numPackets * lame().lame_get_framesize(mLame) - packet.delay - numFrames;
    return packet.bytes();
}

} // namespace velloria
