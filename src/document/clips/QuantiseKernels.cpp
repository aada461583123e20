#include "document/clips/SampleKernels.h"
#include "platform/VectorTarget.h"

#include <cmath>
#include <cstring>

#if VELLORIA_AVX2_VARIANTS
#include <immintrin.h>
#endif

namespace velloria::SampleKernels
{

namespace
{

/// round(clamp(x) * 2147483647.0), halves away from zero. Adding a half and truncating is exact here: the sum
/// is off only for products just below a half that no float gives.
VELLORIA_KERNEL int32_t fullScaleInteger(float sample)
{
    float clamped = sample == sample ? sample : 0.0F;
    clamped = clamped < -1.0F ? -1.0F : clamped;
    clamped = clamped > 1.0F ? 1.0F : clamped;
    const double product = static_cast<double>(clamped) * 2147483647.0;
    return static_cast<int32_t>(product + std::copysign(0.5, product));
}

// The conversion goes through doubles and the rule for rounding up through integers of the samples' own
// width. Done one after the other over a block, each becomes a loop of vectors of one width.
constexpr size_t kBlock = 256;

template <typename Rule, typename Integer>
VELLORIA_KERNEL void quantise(const float* in, const uint32_t* sums, Integer* __restrict out, size_t count)
{
    alignas(64) int32_t values[kBlock];
    for (size_t done = 0; done < count; done += kBlock) {
        const size_t length = count - done < kBlock ? count - done : kBlock;
        for (size_t i = 0; i < length; ++i)
            values[i] = fullScaleInteger(in[done + i]);
        for (size_t i = 0; i < length; ++i)
            out[done + i] = static_cast<Integer>(Rule::rounded(values[i], sums[done + i]));
    }
}

// The rule "round up where fraction / mask > sum / (2 * 2147483647)" in integers. With m = 65535 (or 255) and
// M = 4294967295 = m * k, the threshold on the sum is fraction * (M - 1) / m = fraction * k - fraction / m,
// and an integer lies below that exactly when it lies below fraction * k, except that for fraction = m the
// threshold is itself the integer M - 1.

struct Rule16 {
    VELLORIA_KERNEL static int32_t rounded(int32_t value, uint32_t sum)
    {
        const int32_t quotient = value >> 16;
        const uint32_t fraction = static_cast<uint32_t>(value) & 0xFFFFU;
        const uint32_t threshold = fraction * 0x10001U - static_cast<uint32_t>(fraction == 0xFFFFU);
        return quotient + (static_cast<int32_t>(sum < threshold) & static_cast<int32_t>(quotient < 0x7FFF));
    }
};

struct Rule24 {
    VELLORIA_KERNEL static int32_t rounded(int32_t value, uint32_t sum)
    {
        const int32_t quotient = value >> 8;
        const uint32_t fraction = static_cast<uint32_t>(value) & 0xFFU;
        const uint32_t threshold = fraction * 0x1010101U - static_cast<uint32_t>(fraction == 0xFFU);
        return quotient + (static_cast<int32_t>(sum < threshold) & static_cast<int32_t>(quotient < 0x7FFFFF));
    }
};

/// Fractions of 24 bits are compared as they are written, in double precision: there the quotients of
/// different ratios can round to the same number, which counts as not greater.
struct Rule8 {
    VELLORIA_KERNEL static int32_t rounded(int32_t value, uint32_t sum)
    {
        const int32_t quotient = value >> 24;
        const double fraction = static_cast<double>(value & 0xFFFFFF) / 0xFFFFFF;
        const auto isAbove = static_cast<int32_t>(fraction > sum / 2147483647.0 * 0.5);
        return quotient + (isAbove & static_cast<int32_t>(quotient < 0x7F));
    }
};

struct Quantise8Kernel {
    VELLORIA_KERNEL static void run(const float* in, const uint32_t* sums, int8_t* out, size_t count)
    {
        quantise<Rule8>(in, sums, out, count);
    }
};

struct Quantise16Kernel {
    VELLORIA_KERNEL static void run(const float* in, const uint32_t* sums, int16_t* out, size_t count)
    {
        quantise<Rule16>(in, sums, out, count);
    }
};

struct Quantise24Kernel {
    VELLORIA_KERNEL static void run(const float* in, const uint32_t* sums, int32_t* out, size_t count)
    {
        quantise<Rule24>(in, sums, out, count);
    }
};

struct Quantise32Kernel {
    VELLORIA_KERNEL static void run(const float* in, int32_t* __restrict out, size_t count)
    {
        for (size_t i = 0; i < count; ++i)
            out[i] = fullScaleInteger(in[i]);
    }
};

VELLORIA_KERNEL void pack(const int32_t* in, std::byte* out, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        out[3 * i] = static_cast<std::byte>(in[i]);
        out[3 * i + 1] = static_cast<std::byte>(in[i] >> 8);
        out[3 * i + 2] = static_cast<std::byte>(in[i] >> 16);
    }
}

#if VELLORIA_AVX2_VARIANTS
/// Four integers become twelve bytes; each store writes sixteen, the last four of which the next one
/// replaces.
VELLORIA_TARGET_AVX2 void packAvx2(const int32_t* in, std::byte* out, size_t count)
{
    const __m128i places = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    size_t i = 0;
    for (; i + 6 <= count; i += 4) {
        const __m128i lanes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 3 * i), _mm_shuffle_epi8(lanes, places));
    }
    pack(in + i, out + 3 * i, count - i);
}
#endif

} // namespace

void quantise8(const float* in, const uint32_t* sums, int8_t* out, size_t count)
{
    runKernel<Quantise8Kernel>(in, sums, out, count);
}

void quantise16(const float* in, const uint32_t* sums, int16_t* out, size_t count)
{
    runKernel<Quantise16Kernel>(in, sums, out, count);
}

void quantise24(const float* in, const uint32_t* sums, int32_t* out, size_t count)
{
    runKernel<Quantise24Kernel>(in, sums, out, count);
}

void quantise32(const float* in, int32_t* out, size_t count)
{
    runKernel<Quantise32Kernel>(in, out, count);
}

void packTo24Bits(const int32_t* in, std::byte* out, size_t count)
{
#if VELLORIA_AVX2_VARIANTS
    if (cpuHasAvx2())
        return packAvx2(in, out, count);
#endif
    pack(in, out, count);
}

} // namespace velloria::SampleKernels
