#include "document/clips/SampleKernels.h"
#include "platform/VectorTarget.h"

#include <algorithm>
#include <cstring>

namespace velloria::SampleKernels
{

namespace
{

struct InterleaveStereoKernel {
    VELLORIA_KERNEL static void run(const float* left, const float* right, float* __restrict out,
                                    size_t numFrames)
    {
        for (size_t i = 0; i < numFrames; ++i) {
            out[2 * i] = left[i];
            out[2 * i + 1] = right[i];
        }
    }
};

struct SpreadKernel {
    VELLORIA_KERNEL static void run(const float* in, float left, float right, float* __restrict out,
                                    size_t numFrames)
    {
        for (size_t i = 0; i < numFrames; ++i) {
            out[2 * i] = left * in[i];
            out[2 * i + 1] = right * in[i];
        }
    }
};

struct AddKernel {
    VELLORIA_KERNEL static void run(const float* in, float left, float right, float* __restrict out,
                                    size_t numFrames)
    {
        for (size_t i = 0; i < numFrames; ++i) {
            out[2 * i] += left * in[i];
            out[2 * i + 1] += right * in[i];
        }
    }
};

template <typename Value>
VELLORIA_KERNEL void gather(const std::byte* in, size_t stride, float* __restrict out, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        Value value;
        std::memcpy(&value, in + i * stride * sizeof(Value), sizeof value);
        out[i] = static_cast<float>(value);
    }
}

template <typename Value, size_t kStride> struct GatherKernel {
    VELLORIA_KERNEL static void run(const std::byte* in, float* __restrict out, size_t count)
    {
        gather<Value>(in, kStride, out, count);
    }
};

template <typename Value> void gatherWithStride(const std::byte* in, size_t stride, float* out, size_t count)
{
    if (stride == 1)
        runKernel<GatherKernel<Value, 1>>(in, out, count);
    else if (stride == 2)
        runKernel<GatherKernel<Value, 2>>(in, out, count);
    else
        gather<Value>(in, stride, out, count);
}

} // namespace

void gatherFloats(const std::byte* in, size_t stride, float* out, size_t count)
{
    gatherWithStride<float>(in, stride, out, count);
}

void narrowDoubles(const std::byte* in, size_t stride, float* out, size_t count)
{
    gatherWithStride<double>(in, stride, out, count);
}

void interleave(std::span<const float* const> channels, float* out, size_t numFrames)
{
    if (channels.size() == 1) {
        std::copy_n(channels[0], numFrames, out);
        return;
    }
    if (channels.size() == 2)
        return runKernel<InterleaveStereoKernel>(channels[0], channels[1], out, numFrames);
    // Block by block, so that what one channel's pass brings into the cache is there for the next.
    constexpr size_t kBlock = 256;
    for (size_t first = 0; first < numFrames; first += kBlock) {
        const size_t end = std::min(numFrames, first + kBlock);
        for (size_t channel = 0; channel < channels.size(); ++channel) {
            for (size_t frame = first; frame < end; ++frame)
                out[frame * channels.size() + channel] = channels[channel][frame];
        }
    }
}

void spreadToStereo(const float* in, float left, float right, float* out, size_t numFrames)
{
    runKernel<SpreadKernel>(in, left, right, out, numFrames);
}

void addToStereo(const float* in, float left, float right, float* out, size_t numFrames)
{
    runKernel<AddKernel>(in, left, right, out, numFrames);
}

} // namespace velloria::SampleKernels
