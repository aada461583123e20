#include "formats/streams/EndianSwap.h"

#include "platform/VectorTarget.h"

#include <QtEndian>
#include <algorithm>
#include <cstring>

#if VELLORIA_AVX2_VARIANTS
#include <immintrin.h>
#endif

namespace velloria
{

namespace
{

template <typename Word> struct SwapKernel {
    VELLORIA_KERNEL static void run(std::byte* samples, size_t count)
    {
        for (size_t i = 0; i < count; ++i) {
            Word word;
            std::memcpy(&word, samples + i * sizeof word, sizeof word);
            word = qbswap(word);
            std::memcpy(samples + i * sizeof word, &word, sizeof word);
        }
    }
};

struct Swap24Kernel {
    VELLORIA_KERNEL static void run(std::byte* samples, size_t count)
    {
        for (size_t i = 0; i < count; ++i)
            std::swap(samples[3 * i], samples[3 * i + 2]);
    }
};

#if VELLORIA_AVX2_VARIANTS
/// Sixteen samples of 24 bits, three vectors, a turn. Two samples lie across the vectors' borders; their
/// outer bytes come from the neighbour.
VELLORIA_TARGET_AVX2 void swap24Avx2(std::byte* samples, size_t count)
{
    constexpr char none = -1;
    const __m128i firstFromFirst = _mm_setr_epi8(2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12, none);
    const __m128i firstFromSecond = _mm_setr_epi8(none, none, none, none, none, none, none, none, none, none,
                                                  none, none, none, none, none, 1);
    const __m128i secondFromFirst = _mm_setr_epi8(none, 15, none, none, none, none, none, none, none, none,
                                                  none, none, none, none, none, none);
    const __m128i secondFromSecond = _mm_setr_epi8(0, none, 4, 3, 2, 7, 6, 5, 10, 9, 8, 13, 12, 11, none, 15);
    const __m128i secondFromThird = _mm_setr_epi8(none, none, none, none, none, none, none, none, none, none,
                                                  none, none, none, none, 0, none);
    const __m128i thirdFromSecond = _mm_setr_epi8(14, none, none, none, none, none, none, none, none, none,
                                                  none, none, none, none, none, none);
    const __m128i thirdFromThird = _mm_setr_epi8(none, 3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10, 15, 14, 13);
    constexpr size_t samplesPerTurn = 16;
    size_t i = 0;
    for (; i + samplesPerTurn <= count; i += samplesPerTurn) {
        auto* const vectors = reinterpret_cast<__m128i*>(samples + 3 * i);
        const __m128i first = _mm_loadu_si128(vectors);
        const __m128i second = _mm_loadu_si128(vectors + 1);
        const __m128i third = _mm_loadu_si128(vectors + 2);
        _mm_storeu_si128(vectors, _mm_or_si128(_mm_shuffle_epi8(first, firstFromFirst),
                                               _mm_shuffle_epi8(second, firstFromSecond)));
        _mm_storeu_si128(vectors + 1, _mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(first, secondFromFirst),
                                                                _mm_shuffle_epi8(second, secondFromSecond)),
                                                   _mm_shuffle_epi8(third, secondFromThird)));
        _mm_storeu_si128(vectors + 2, _mm_or_si128(_mm_shuffle_epi8(second, thirdFromSecond),
                                                   _mm_shuffle_epi8(third, thirdFromThird)));
    }
    Swap24Kernel::run(samples + 3 * i, count - i);
}
#endif

void swap24(std::byte* samples, size_t count)
{
#if VELLORIA_AVX2_VARIANTS
    if (cpuHasAvx2())
        return swap24Avx2(samples, count);
#endif
    Swap24Kernel::run(samples, count);
}

/// The eight bytes from every fourth byte on are turned around, so that most are turned twice. That is how
/// this operation has always been; samples go through endianSwapDoubles().
void swapEveryFourBytes(std::span<std::byte> samples)
{
    constexpr size_t step = 4;
    constexpr size_t length = 8;
    for (size_t offset = 0; offset + length <= samples.size(); offset += step)
        std::reverse(samples.data() + offset, samples.data() + offset + length);
}

} // namespace

void endianSwapDoubles(std::span<std::byte> samples)
{
    runKernel<SwapKernel<quint64>>(samples.data(), samples.size() / sizeof(quint64));
}

void endianSwapData(std::span<std::byte> samples, int64_t sampleSizeBits)
{
    std::byte* const bytes = samples.data();
    switch (sampleSizeBits <= 64 ? (sampleSizeBits + 7) / 8 : 9) {
    case 0:
    case 1:
        return;
    case 2:
        return runKernel<SwapKernel<quint16>>(bytes, samples.size() / 2);
    case 3:
        return swap24(bytes, samples.size() / 3);
    case 4:
        return runKernel<SwapKernel<quint32>>(bytes, samples.size() / 4);
    case 8:
        if (sampleSizeBits == 64)
            return swapEveryFourBytes(samples);
        break;
    default:
        break;
    }
    std::fill(samples.begin(), samples.end(), std::byte{0});
}

} // namespace velloria
