#include "formats/flac/FlacBlock.h"

#include "document/clips/SampleKernels.h"

#include <bit>
#include <cmath>
#include <cstring>

namespace velloria
{

namespace
{

static_assert(std::endian::native == std::endian::little);

/// The low kSize bytes of each sample.
template <size_t kSize>
void packBytes(std::span<const int32_t* const> channels, std::byte* out, size_t numFrames)
{
    for (size_t c = 0; c < channels.size(); ++c) {
        const int32_t* const in = channels[c];
        std::byte* to = out + c * kSize;
        for (size_t i = 0; i < numFrames; ++i, to += channels.size() * kSize)
            std::memcpy(to, in + i, kSize);
    }
}

size_t bytesPerSample(uint32_t bits)
{
    return (bits + 7) / 8;
}

} // namespace

void FlacBlock::start(const FlacFormat& format, bool isPacking)
{
    mFormat = format;
    mIsPacking = isPacking;
    mSamples.resize(format.numChannels);
    for (std::vector<float>& channel : mSamples)
        channel.clear();
    mPacked.clear();
}

void FlacBlock::append(const FLAC__int32* const channels[], size_t numFrames)
{
    const float scale = std::ldexp(1.0F, 1 - static_cast<int>(mFormat.bitsPerSample));
    for (size_t c = 0; c < mSamples.size(); ++c) {
        std::vector<float>& samples = mSamples[c];
        const size_t size = samples.size();
        samples.resize(size + numFrames);
        SampleKernels::scaleIntegers(channels[c], scale, samples.data() + size, numFrames);
    }
    if (mIsPacking)
        pack(std::span(channels, mSamples.size()), numFrames, mFormat.bitsPerSample, mPacked);
}

void FlacBlock::pack(std::span<const int32_t* const> channels, size_t numFrames, uint32_t bits,
                     std::vector<std::byte>& out)
{
    const size_t size = out.size();
    out.resize(size + numFrames * channels.size() * bytesPerSample(bits));
    std::byte* const to = out.data() + size;
    switch (bytesPerSample(bits)) {
    case 1:
        return packBytes<1>(channels, to, numFrames);
    case 2:
        return packBytes<2>(channels, to, numFrames);
    case 3:
        return packBytes<3>(channels, to, numFrames);
    default:
        return packBytes<4>(channels, to, numFrames);
    }
}

void FlacBlock::appendSilence(size_t numFrames)
{
    for (std::vector<float>& samples : mSamples)
        samples.resize(samples.size() + numFrames);
    if (mIsPacking)
        mPacked.resize(mPacked.size() +
                       numFrames * mFormat.numChannels * bytesPerSample(mFormat.bitsPerSample));
}

void FlacBlock::dropFirst(size_t numFrames)
{
    const auto count = static_cast<std::ptrdiff_t>(numFrames);
    for (std::vector<float>& samples : mSamples)
        samples.erase(samples.begin(), samples.begin() + count);
    const auto frameSize =
        static_cast<std::ptrdiff_t>(mSamples.size() * bytesPerSample(mFormat.bitsPerSample));
    if (mIsPacking)
        mPacked.erase(mPacked.begin(), mPacked.begin() + count * frameSize);
}

void FlacBlock::append(const FlacBlock& block)
{
    for (size_t c = 0; c < mSamples.size(); ++c)
        mSamples[c].insert(mSamples[c].end(), block.mSamples[c].begin(), block.mSamples[c].end());
    mPacked.insert(mPacked.end(), block.mPacked.begin(), block.mPacked.end());
}

} // namespace velloria
