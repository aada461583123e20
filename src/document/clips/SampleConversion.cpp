#include "document/clips/AudioData.h"
#include "document/clips/Dither.h"
#include "document/clips/SampleKernels.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace velloria::SampleConversion
{

namespace
{

// Samples on the way through the random numbers and the quantiser: all buffers of a block stay in the
// first-level cache, and the generator's lock is taken once a block.
constexpr size_t kBlock = 2048;

bool isSampleSize(int64_t bytesPerSample)
{
    return bytesPerSample >= 1 && bytesPerSample <= 4;
}

/// One block, packed, without a gap between samples. fillSums(span) supplies the random numbers.
template <typename FillSums>
void quantiseBlock(std::span<const float> in, int64_t bytesPerSample, std::byte* out,
                   const FillSums& fillSums)
{
    alignas(64) std::array<int32_t, kBlock> integers;
    if (bytesPerSample == 4) {
        SampleKernels::quantise32(in.data(), integers.data(), in.size());
        std::memcpy(out, integers.data(), 4 * in.size());
        return;
    }
    alignas(64) std::array<uint32_t, kBlock> sums;
    fillSums(std::span(sums).first(in.size()));
    if (bytesPerSample == 3) {
        SampleKernels::quantise24(in.data(), sums.data(), integers.data(), in.size());
        SampleKernels::packTo24Bits(integers.data(), out, in.size());
    } else if (bytesPerSample == 2) {
        SampleKernels::quantise16(in.data(), sums.data(), reinterpret_cast<int16_t*>(integers.data()),
                                  in.size());
        std::memcpy(out, integers.data(), 2 * in.size());
    } else {
        SampleKernels::quantise8(in.data(), sums.data(), reinterpret_cast<int8_t*>(out), in.size());
    }
}

/// The first kSize bytes of every `inSize` bytes.
template <size_t kSize>
void scatter(const std::byte* in, size_t inSize, std::byte* out, size_t stride, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        std::memcpy(out + i * stride * kSize, in + i * inSize, kSize);
}

void scatterSamples(const std::byte* in, size_t inSize, size_t bytesPerSample, std::byte* out, size_t stride,
                    size_t count)
{
    switch (bytesPerSample) {
    case 1:
        return scatter<1>(in, inSize, out, stride, count);
    case 2:
        return scatter<2>(in, inSize, out, stride, count);
    case 3:
        return scatter<3>(in, inSize, out, stride, count);
    default:
        return scatter<4>(in, inSize, out, stride, count);
    }
}

template <typename FillSums>
bool quantise(std::span<const float> in, int64_t bytesPerSample, std::byte* out, int64_t outStride,
              const FillSums& fillSums)
{
    if (!isSampleSize(bytesPerSample) || outStride < 1)
        return false;
    const auto size = static_cast<size_t>(bytesPerSample);
    const auto stride = static_cast<size_t>(outStride);
    alignas(64) std::array<std::byte, 4 * kBlock> packed;
    while (!in.empty()) {
        const auto block = in.first(std::min(kBlock, in.size()));
        if (stride == 1) {
            quantiseBlock(block, bytesPerSample, out, fillSums);
        } else {
            quantiseBlock(block, bytesPerSample, packed.data(), fillSums);
            scatterSamples(packed.data(), size, size, out, stride, block.size());
        }
        out += block.size() * stride * size;
        in = in.subspan(block.size());
    }
    return true;
}

} // namespace

bool integersToFloats(std::span<const std::byte> in, int64_t bytesPerSample, int64_t channel, int64_t stride,
                      std::span<float> out)
{
    if (!isSampleSize(bytesPerSample) || stride < 1 || channel < 0)
        return false;
    const auto size = static_cast<size_t>(bytesPerSample);
    const auto first = static_cast<size_t>(channel);
    const auto step = static_cast<size_t>(stride);
    const size_t numSamples = in.size() / size;
    const size_t available = numSamples > first ? (numSamples - first + step - 1) / step : 0;
    const size_t count = std::min(available, out.size());
    if (step == 2 && first < 2 && 2 * count <= numSamples)
        SampleKernels::stereoChannelToFloats(in.data(), size, first, out.data(), count);
    else
        SampleKernels::integersToFloats(in.data() + first * size, size, step, out.data(), count);
    std::fill(out.begin() + static_cast<std::ptrdiff_t>(count), out.end(), 0.0F);
    return true;
}

bool deinterleaveToFloats(std::span<const std::byte> in, int64_t bytesPerSample,
                          std::span<float* const> channels, int64_t numFrames)
{
    if (!isSampleSize(bytesPerSample))
        return false;
    const auto size = static_cast<size_t>(bytesPerSample);
    const size_t numChannels = channels.size();
    if (numChannels == 0 || numFrames < 1)
        return true;
    const size_t available = in.size() / (size * numChannels);
    const size_t count = std::min(available, static_cast<size_t>(numFrames));
    if (numChannels == 1) {
        SampleKernels::integersToFloats(in.data(), size, 1, channels[0], count);
    } else if (numChannels == 2) {
        SampleKernels::splitStereoIntegers(in.data(), size, channels[0], channels[1], count);
    } else {
        for (size_t frame = 0; frame < count; frame += kBlock / numChannels + 1) {
            const size_t blockFrames = std::min(kBlock / numChannels + 1, count - frame);
            for (size_t channel = 0; channel < numChannels; ++channel) {
                const std::byte* block = in.data() + (frame * numChannels + channel) * size;
                SampleKernels::integersToFloats(block, size, numChannels, channels[channel] + frame,
                                                blockFrames);
            }
        }
    }
    for (float* channel : channels)
        std::fill(channel + count, channel + numFrames, 0.0F);
    return true;
}

bool floatsToIntegers(std::span<const float> in, int64_t bytesPerSample, std::byte* out, int64_t outStride)
{
    return quantise(in, bytesPerSample, out, outStride, fillFromProcessDither);
}

bool floatsToIntegers(std::span<const float> in, int64_t bytesPerSample, std::byte* out, int64_t outStride,
                      DitherGenerator& generator)
{
    return quantise(in, bytesPerSample, out, outStride,
                    [&generator](std::span<uint32_t> sums) { generator.fill(sums); });
}

bool floatsToNearestIntegers(std::span<const float> in, int64_t bytesPerSample, std::byte* out,
                             int64_t outStride)
{
    if (!isSampleSize(bytesPerSample) || outStride < 1)
        return false;
    const auto size = static_cast<size_t>(bytesPerSample);
    const auto stride = static_cast<size_t>(outStride);
    alignas(64) std::array<int32_t, kBlock> integers;
    while (!in.empty()) {
        const auto block = in.first(std::min(kBlock, in.size()));
        SampleKernels::roundToIntegers(block.data(), static_cast<int>(8 * size), integers.data(),
                                       block.size());
        // The low bytes come first in memory.
        scatterSamples(reinterpret_cast<const std::byte*>(integers.data()), sizeof(int32_t), size, out,
                       stride, block.size());
        out += block.size() * stride * size;
        in = in.subspan(block.size());
    }
    return true;
}

} // namespace velloria::SampleConversion
