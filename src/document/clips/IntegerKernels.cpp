#include "document/clips/SampleKernels.h"
#include "platform/VectorTarget.h"

#include <algorithm>
#include <array>
#include <cstring>

#if VELLORIA_AVX2_VARIANTS
#include <immintrin.h>
#endif

// Every scale is a power of two and every integer of up to 24 bits is a float, so that single precision gives
// what double precision would; a 32-bit integer is rounded once, when it becomes a float, in both.

namespace velloria::SampleKernels
{

namespace
{

constexpr float kScale8 = 0x1p-7F;
constexpr float kScale16 = 0x1p-15F;
constexpr float kScale32 = 0x1p-31F;
constexpr size_t kStrideBlock = 1024;

template <typename Integer> VELLORIA_KERNEL Integer load(const std::byte* in, size_t index)
{
    Integer value;
    std::memcpy(&value, in + index * sizeof(Integer), sizeof(Integer));
    return value;
}

/// The sample in the upper three bytes.
VELLORIA_KERNEL int32_t load24(const std::byte* in, size_t index)
{
    const std::byte* bytes = in + 3 * index;
    const auto low = std::to_integer<uint32_t>(bytes[0]);
    const auto middle = std::to_integer<uint32_t>(bytes[1]);
    const auto high = std::to_integer<uint32_t>(bytes[2]);
    return static_cast<int32_t>((low << 8) | (middle << 16) | (high << 24));
}

template <typename Integer> VELLORIA_KERNEL float scaled(Integer value)
{
    constexpr float scale = sizeof(Integer) == 1 ? kScale8 : sizeof(Integer) == 2 ? kScale16 : kScale32;
    return static_cast<float>(value) * scale;
}

template <typename Integer> struct MonoKernel {
    VELLORIA_KERNEL static void run(const std::byte* in, float* __restrict out, size_t count)
    {
        for (size_t i = 0; i < count; ++i)
            out[i] = scaled(load<Integer>(in, i));
    }
};

/// A stereo frame is read as one integer of twice the size: its halves are the channels.
template <typename Integer, typename Frame> struct StereoKernel {
    static constexpr int kBits = 8 * sizeof(Integer);

    VELLORIA_KERNEL static void run(const std::byte* in, float* __restrict left, float* __restrict right,
                                    size_t count)
    {
        for (size_t i = 0; i < count; ++i) {
            const auto frame = load<Frame>(in, i);
            left[i] = scaled(static_cast<Integer>(frame));
            right[i] = scaled(static_cast<Integer>(frame >> kBits));
        }
    }
};

template <typename Integer, typename Frame, int kChannel> struct StereoChannelKernel {
    VELLORIA_KERNEL static void run(const std::byte* in, float* __restrict out, size_t count)
    {
        for (size_t i = 0; i < count; ++i)
            out[i] = scaled(static_cast<Integer>(load<Frame>(in, i) >>
                                                 (kChannel * 8 * static_cast<int>(sizeof(Integer)))));
    }
};

struct SplitFloatsKernel {
    VELLORIA_KERNEL static void run(const float* in, float* __restrict left, float* __restrict right,
                                    size_t count)
    {
        for (size_t i = 0; i < count; ++i) {
            left[i] = in[2 * i];
            right[i] = in[2 * i + 1];
        }
    }
};

struct Mono24Kernel {
    VELLORIA_KERNEL static void run(const std::byte* in, float* __restrict out, size_t count)
    {
        for (size_t i = 0; i < count; ++i)
            out[i] = scaled(load24(in, i));
    }
};

#if VELLORIA_AVX2_VARIANTS
/// Eight samples, 24 bytes, at a time: each sample is shuffled into the upper bytes of its own 32-bit lane.
/// The two overlapping loads stay within the 24 bytes.
VELLORIA_TARGET_AVX2 void mono24Avx2(const std::byte* in, float* out, size_t count)
{
    const __m256i places = _mm256_setr_epi8(-1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, //
                                            -1, 4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15);
    const __m256 scale = _mm256_set1_ps(kScale32);
    size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const std::byte* bytes = in + 3 * i;
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + 8));
        const __m256i lanes = _mm256_shuffle_epi8(_mm256_set_m128i(high, low), places);
        _mm256_storeu_ps(out + i, _mm256_mul_ps(_mm256_cvtepi32_ps(lanes), scale));
    }
    Mono24Kernel::run(in + 3 * i, out + i, count - i);
}
#endif

void mono24(const std::byte* in, float* out, size_t count)
{
#if VELLORIA_AVX2_VARIANTS
    if (cpuHasAvx2())
        return mono24Avx2(in, out, count);
#endif
    Mono24Kernel::run(in, out, count);
}

void monoToFloats(const std::byte* in, size_t bytesPerSample, float* out, size_t count)
{
    switch (bytesPerSample) {
    case 1:
        return runKernel<MonoKernel<int8_t>>(in, out, count);
    case 2:
        return runKernel<MonoKernel<int16_t>>(in, out, count);
    case 3:
        return mono24(in, out, count);
    default:
        return runKernel<MonoKernel<int32_t>>(in, out, count);
    }
}

template <typename Integer>
void stridedToFloats(const std::byte* in, size_t stride, float* __restrict out, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        out[i] = scaled(load<Integer>(in, i * stride));
}

void strided24(const std::byte* in, size_t stride, float* __restrict out, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        out[i] = scaled(load24(in, i * stride));
}

} // namespace

void integersToFloats(const std::byte* in, size_t bytesPerSample, size_t stride, float* out, size_t count)
{
    if (stride == 1)
        return monoToFloats(in, bytesPerSample, out, count);
    switch (bytesPerSample) {
    case 1:
        return stridedToFloats<int8_t>(in, stride, out, count);
    case 2:
        return stridedToFloats<int16_t>(in, stride, out, count);
    case 3:
        return strided24(in, stride, out, count);
    default:
        return stridedToFloats<int32_t>(in, stride, out, count);
    }
}

void stereoChannelToFloats(const std::byte* in, size_t bytesPerSample, size_t channel, float* out,
                           size_t numFrames)
{
    // The wide load of the last frame would be the same frame; nothing is read beyond it.
    if (bytesPerSample == 1) {
        return channel == 0 ? runKernel<StereoChannelKernel<int8_t, int16_t, 0>>(in, out, numFrames)
                            : runKernel<StereoChannelKernel<int8_t, int16_t, 1>>(in, out, numFrames);
    }
    if (bytesPerSample == 2) {
        return channel == 0 ? runKernel<StereoChannelKernel<int16_t, int32_t, 0>>(in, out, numFrames)
                            : runKernel<StereoChannelKernel<int16_t, int32_t, 1>>(in, out, numFrames);
    }
    if (bytesPerSample == 4) {
        return channel == 0 ? runKernel<StereoChannelKernel<int32_t, int64_t, 0>>(in, out, numFrames)
                            : runKernel<StereoChannelKernel<int32_t, int64_t, 1>>(in, out, numFrames);
    }
    std::array<float, kStrideBlock> ignored;
    for (size_t frame = 0; frame < numFrames; frame += kStrideBlock) {
        const size_t count = std::min(kStrideBlock, numFrames - frame);
        float* left = channel == 0 ? out + frame : ignored.data();
        float* right = channel == 0 ? ignored.data() : out + frame;
        splitStereoIntegers(in + frame * 2 * bytesPerSample, bytesPerSample, left, right, count);
    }
}

void splitStereoIntegers(const std::byte* in, size_t bytesPerSample, float* left, float* right,
                         size_t numFrames)
{
    if (bytesPerSample == 1)
        return runKernel<StereoKernel<int8_t, int16_t>>(in, left, right, numFrames);
    if (bytesPerSample == 2)
        return runKernel<StereoKernel<int16_t, int32_t>>(in, left, right, numFrames);
    // By way of a block of interleaved floats, which stays in the first-level cache.
    std::array<float, 2 * kStrideBlock> block;
    for (size_t frame = 0; frame < numFrames; frame += kStrideBlock) {
        const size_t count = std::min(kStrideBlock, numFrames - frame);
        monoToFloats(in + frame * 2 * bytesPerSample, bytesPerSample, block.data(), 2 * count);
        splitStereoFloats(block.data(), left + frame, right + frame, count);
    }
}

void splitStereoFloats(const float* in, float* left, float* right, size_t numFrames)
{
    runKernel<SplitFloatsKernel>(in, left, right, numFrames);
}

} // namespace velloria::SampleKernels
