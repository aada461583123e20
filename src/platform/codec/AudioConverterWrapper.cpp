#include "platform/codec/AudioConverterWrapper.h"

#include "platform/Log.h"
#include "platform/codec/PacketEncoder.h"
#include "platform/codec/SampleRateConverter.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr FourCharCode kUnsupportedFormat = fourCharCode("fmt?");

bool isInterleavedFloat(const StreamDescription& format)
{
    return format.isLinearPcm() && format.formatFlags() == FormatFlag::kFloat &&
           format.bitsPerChannel() == 32;
}

} // namespace

AudioConverterWrapper::AudioConverterWrapper(const StreamDescription& input, const StreamDescription& output)
    : mInputFormat(input)
    , mOutputFormat(output)
{
}

AudioConverterWrapper::~AudioConverterWrapper() = default;

std::unique_ptr<AudioConverterWrapper> AudioConverterWrapper::withInputFormat(const StreamDescription& input,
                                                                              const StreamDescription& output,
                                                                              MaybeError* error)
{
    std::unique_ptr<AudioConverterWrapper> converter(new AudioConverterWrapper(input, output));
    const MaybeError failure = converter->setUp();
    if (!failure)
        return converter;
    logLine(QStringLiteral("-[AudioConverterWrapper initWithInputFormat:] Error in AudioConverterNew(): %1")
                .arg(kUnsupportedFormat));
    if (error)
        *error = failure;
    return nullptr;
}

MaybeError AudioConverterWrapper::setUp()
{
    MaybeError error;
    const bool isSameShape = mInputFormat.channelsPerFrame() == mOutputFormat.channelsPerFrame();
    if (!isInterleavedFloat(mInputFormat) || !isSameShape)
        return Error{Error::Code::unsupported,
                     QStringLiteral("There is no conversion between these formats.")};
    if (isInterleavedFloat(mOutputFormat)) {
        mRateConverter = SampleRateConverter::create(mInputFormat.sampleRate(), mOutputFormat.sampleRate(),
                                                     mInputFormat.channelsPerFrame(), &error);
        return error;
    }
    mEncoder = PacketEncoder::create(mOutputFormat, 0, &error);
    if (mEncoder && mInputFormat.sampleRate() != mOutputFormat.sampleRate())
        return Error{Error::Code::unsupported, QStringLiteral("Encoding does not change the sample rate.")};
    return error;
}

MaybeError AudioConverterWrapper::setBitRate(int64_t bitRate)
{
    MaybeError error;
    auto encoder = PacketEncoder::create(mOutputFormat, bitRate, &error);
    if (!encoder) {
        logLine(QStringLiteral("-[AudioConverterWrapper setBitRate] AudioConverterSetProperty "
                               "(kAudioConverterEncodeBitRate) error: %1")
                    .arg(kUnsupportedFormat));
        return error;
    }
    mEncoder = std::move(encoder);
    return std::nullopt;
}

std::vector<float> AudioConverterWrapper::pull(int64_t numFrames)
{
    return mDataSource ? mDataSource->interleavedDataForAudioConverter(*this, numFrames)
                       : std::vector<float>();
}

std::vector<float> AudioConverterWrapper::convertedFloatsWithNumPackets(int64_t numPackets)
{
    if (!mRateConverter)
        return {};
    if (mInputFormat.sampleRate() == mOutputFormat.sampleRate())
        return pull(numPackets);
    const auto whenEmpty =
        mMayPause ? SampleRateConverter::WhenEmpty::pause : SampleRateConverter::WhenEmpty::end;
    return mRateConverter->convert(
        numPackets, [this](int64_t numFrames) { return pull(numFrames); }, whenEmpty);
}

void AudioConverterWrapper::encodeSome()
{
    constexpr int64_t framesPerPull = 4096;
    const PacketEncoder::Sink keep = [this](AVPacket& packet) -> MaybeError {
        const auto bytesPerPacket = static_cast<int>(mOutputFormat.bytesPerPacket());
        const auto* const data = reinterpret_cast<const char*>(packet.data);
        // A run of A-law is as many packets as it has frames.
        const int step = bytesPerPacket > 0 ? bytesPerPacket : packet.size;
        for (int at = 0; at + step <= packet.size; at += step)
            mPackets.emplace_back(data + at, step);
        return std::nullopt;
    };
    const std::vector<float> frames = pull(framesPerPull);
    mIsEncoderFinished = frames.empty();
    mError = mIsEncoderFinished ? mEncoder->finish(keep) : mEncoder->encode(frames, keep);
    mIsEncoderFinished |= mError.has_value();
}

QByteArray AudioConverterWrapper::convertedDataWithNumPackets(int64_t numPackets)
{
    if (!mEncoder) {
        const std::vector<float> floats = convertedFloatsWithNumPackets(numPackets);
        return {reinterpret_cast<const char*>(floats.data()),
                static_cast<qsizetype>(floats.size() * sizeof(float))};
    }
    while (static_cast<int64_t>(mPackets.size()) < numPackets && !mIsEncoderFinished)
        encodeSome();
    const auto count = std::min(static_cast<int64_t>(mPackets.size()), numPackets);
    QByteArray data;
    for (int64_t i = 0; i < count; ++i)
        data += mPackets[static_cast<size_t>(i)];
    mPackets.erase(mPackets.begin(), mPackets.begin() + count);
    return data;
}

uint32_t AudioConverterWrapper::outputFramesPerPacket() const
{
    return mEncoder ? static_cast<uint32_t>(mEncoder->framesPerPacket()) : 1;
}

QByteArray AudioConverterWrapper::compressionMagicCookie() const
{
    return mEncoder ? mEncoder->magicCookie() : QByteArray();
}

int64_t AudioConverterWrapper::primingFrames() const
{
    return mEncoder ? mEncoder->primingFrames() : 0;
}

} // namespace velloria
