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
void pack(const FLAC__int32* const channels[], size_t numChannels, std::byte* out, size_t numFrames)
{
    for (size_t c = 0; c < numChannels; ++c) {
        const FLAC__int32* const in = channels[c];
        std::byte* to = out + c * kSize;
        for (size_t i = 0; i < numFrames; ++i, to += numChannels * kSize)
            std::memcpy(to, in + i, kSize);
    }
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

std::byte* FlacBlock::growPacked(size_t numFrames)
{
    const size_t size = mPacked.size();
    mPacked.resize(size + numFrames * mFormat.numChannels * ((mFormat.bitsPerSample + 7) / 8));
    return mPacked.data() + size;
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
    if (!mIsPacking)
        return;
    std::byte* const out = growPacked(numFrames);
    switch ((mFormat.bitsPerSample + 7) / 8) {
    case 1:
        return pack<1>(channels, mSamples.size(), out, numFrames);
    case 2:
        return pack<2>(channels, mSamples.size(), out, numFrames);
    case 3:
        return pack<3>(channels, mSamples.size(), out, numFrames);
    default:
        return pack<4>(channels, mSamples.size(), out, numFrames);
    }
}

void FlacBlock::appendSilence(size_t numFrames)
{
    for (std::vector<float>& samples : mSamples)
        samples.resize(samples.size() + numFrames);
    if (mIsPacking)
        growPacked(numFrames);
}

void FlacBlock::dropFirst(size_t numFrames)
{
    const auto count = static_cast<std::ptrdiff_t>(numFrames);
    for (std::vector<float>& samples : mSamples)
        samples.erase(samples.begin(), samples.begin() + count);
    const auto frameSize = static_cast<std::ptrdiff_t>(mSamples.size() * ((mFormat.bitsPerSample + 7) / 8));
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
