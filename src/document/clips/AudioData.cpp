#include "document/clips/AudioData.h"

#include "platform/Log.h"

#include <cstring>

namespace velloria
{

namespace
{

std::span<const std::byte> bytesOf(const QByteArray& data)
{
    return std::as_bytes(std::span(data.constData(), static_cast<size_t>(data.size())));
}

std::vector<float> floatsOf(const QByteArray& data)
{
    std::vector<float> floats(static_cast<size_t>(data.size()) / sizeof(float));
    std::memcpy(floats.data(), data.constData(), floats.size() * sizeof(float));
    return floats;
}

} // namespace

AudioData::AudioData(const QByteArray& data, int64_t sampleSizeBits, int64_t numChannels, double sampleRate)
    : mSampleRate(sampleRate)
    , mSampleSize(sampleSizeBits)
    , mNumChannels(numChannels)
    , mData(data)
{
}

AudioData AudioData::floatData(const QByteArray& floats)
{
    AudioData data(floats, 32, 1, 44100.0);
    data.mIsFloatData = true;
    return data;
}

std::vector<float> AudioData::floatDataWithOffset(int64_t offset, int64_t stride) const
{
    if (stride < 1) {
        logLine(QStringLiteral("Parameter error in floatDataWithOffset:stride: stride is <= 0"));
        return {};
    }
    const int64_t bytesPerSample = sampleSizeInBytes();
    if (bytesPerSample < 1)
        return {};
    std::vector<float> floats(static_cast<size_t>(length() / bytesPerSample / stride));
    if (!SampleConversion::integersToFloats(bytesOf(mData), bytesPerSample, offset, stride, floats))
        logLine(QStringLiteral("Unsupported sample size of %1 bytes").arg(bytesPerSample));
    return floats;
}

std::vector<float> AudioData::floatData() const
{
    return mIsFloatData ? floatsOf(mData) : floatDataWithOffset(0, 1);
}

std::vector<float> AudioData::floatDataFromChannel(int64_t channel) const
{
    const int64_t bytesPerFrame = frameSize();
    if (bytesPerFrame < 1 || length() < bytesPerFrame)
        return {};
    if (!mIsFloatData)
        return floatDataWithOffset(channel, mNumChannels);
    const std::vector<float> all = floatsOf(mData);
    std::vector<float> floats(static_cast<size_t>(length() / bytesPerFrame));
    for (size_t i = 0; i < floats.size(); ++i) {
        const size_t index = static_cast<size_t>(channel) + i * static_cast<size_t>(mNumChannels);
        floats[i] = index < all.size() ? all[index] : 0.0F;
    }
    return floats;
}

QByteArray AudioData::intDataWithSize(int64_t bits) const
{
    if (bits < 1)
        return {};
    const int64_t bytesPerSample = (bits + 7) / 8;
    const std::vector<float> floats = floatsOf(mData);
    QByteArray integers(static_cast<qsizetype>(floats.size()) * bytesPerSample, '\0');
    SampleConversion::floatsToIntegers(floats, bytesPerSample, reinterpret_cast<std::byte*>(integers.data()));
    return integers;
}

} // namespace velloria
