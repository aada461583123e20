#pragma once

#include "document/clips/Dither.h"

#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace velloria
{

/// An interleaved block of integer or float PCM: the one place where integer samples become floats and back.
/// Samples are in the host's byte order, 8-bit ones signed. Made, used and dropped on one thread.
class AudioData
{
public:
    /// Shares the buffer.
    AudioData(const QByteArray& data, int64_t sampleSizeBits, int64_t numChannels, double sampleRate);
    /// A mono run of 32-bit floats on its way to a file writer: 32 bits, 1 channel, 44100 Hz.
    static AudioData floatData(const QByteArray& floats);

    double sampleRate() const { return mSampleRate; }
    int64_t numChannels() const { return mNumChannels; }
    int64_t sampleSizeInBits() const { return mSampleSize; }
    int64_t sampleSizeInBytes() const { return (mSampleSize + 7) / 8; }
    int64_t frameSize() const { return mNumChannels * sampleSizeInBytes(); }
    int64_t numFrames() const { return length() / frameSize(); }
    int64_t length() const { return mData.size(); }
    const QByteArray& data() const { return mData; }
    void setData(const QByteArray& data) { mData = data; }

    std::vector<float> floatDataWithOffset(int64_t offset, int64_t stride) const;
    std::vector<float> floatData() const;
    std::vector<float> floatDataFromChannel(int64_t channel) const;

    /// Integer samples of (bits + 7) / 8 bytes each, dithered up to 24 bits; zeros for a size out of range.
    QByteArray intDataWithSize(int64_t bits) const;

private:
    double mSampleRate;
    int64_t mSampleSize;
    int64_t mNumChannels;
    QByteArray mData;
    bool mIsFloatData = false;
};

/// The arithmetic of AudioData on the caller's own memory, for the sample path.
namespace SampleConversion
{

/// Samples of one channel of interleaved integers (1 to 4 bytes each) as floats: out[i] is the sample at
/// index channel + i * stride. False (out untouched) for another size.
bool integersToFloats(std::span<const std::byte> in, int64_t bytesPerSample, int64_t channel, int64_t stride,
                      std::span<float> out);

/// All channels at once: channels[c] receives the floats of channel c; every pointer has room for numFrames.
bool deinterleaveToFloats(std::span<const std::byte> in, int64_t bytesPerSample,
                          std::span<float* const> channels, int64_t numFrames);

/// Floats as signed integers of `bytesPerSample` (1 to 4) bytes, host order, written every `outStride`
/// samples from out[0] on; dithered up to 3 bytes. Uses the process' dither generator.
bool floatsToIntegers(std::span<const float> in, int64_t bytesPerSample, std::byte* out,
                      int64_t outStride = 1);

/// The same with the dither of a generator of the caller's own, for blocks that several threads convert at
/// once.
bool floatsToIntegers(std::span<const float> in, int64_t bytesPerSample, std::byte* out, int64_t outStride,
                      DitherGenerator& generator);

/// The same for floats that were integers of that size before: each becomes the nearest one, without dither.
bool floatsToNearestIntegers(std::span<const float> in, int64_t bytesPerSample, std::byte* out,
                             int64_t outStride);

} // namespace SampleConversion

} // namespace velloria
