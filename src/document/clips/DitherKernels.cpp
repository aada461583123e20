#include "document/clips/SampleKernels.h"
#include "platform/VectorTarget.h"

#include <cstring>

namespace velloria::SampleKernels
{

namespace
{

/// xoshiro128+ in two vectors of kLanes / 2 lanes side by side; enough independent work to hide the latency,
/// few enough registers to keep the state in them.
template <typename Vector> struct Generators {
    static constexpr size_t kVectorLanes = sizeof(Vector) / sizeof(uint32_t);

    VELLORIA_KERNEL static void load(const uint32_t (*state)[16], size_t lane, Vector (&words)[4])
    {
        for (size_t word = 0; word < 4; ++word)
            std::memcpy(&words[word], state[word] + lane, sizeof(Vector));
    }

    VELLORIA_KERNEL static void store(uint32_t* lanes, const Vector& vector)
    {
        std::memcpy(lanes, &vector, sizeof vector);
    }

    /// The sum's upper 31 bits: the lowest one is the weakest.
    VELLORIA_KERNEL static void draw(Vector (&s)[4], Vector& result)
    {
        result = (s[0] + s[3]) >> 1;
        const Vector shifted = s[1] << 9;
        s[2] ^= s[0];
        s[3] ^= s[1];
        s[1] ^= s[2];
        s[0] ^= s[3];
        s[2] ^= shifted;
        s[3] = (s[3] << 11) | (s[3] >> 21);
    }

    VELLORIA_KERNEL static void run(uint32_t (*state)[16], uint32_t* out, size_t numBlocks, size_t lane)
    {
        const size_t other = lane + kVectorLanes;
        Vector a[4];
        Vector b[4];
        load(state, lane, a);
        load(state, other, b);
        for (size_t block = 0; block < numBlocks; ++block) {
            Vector a1, a2, b1, b2;
            draw(a, a1);
            draw(b, b1);
            draw(a, a2);
            draw(b, b2);
            store(out + 16 * block + lane, a1 + a2);
            store(out + 16 * block + other, b1 + b2);
        }
        for (size_t word = 0; word < 4; ++word) {
            store(state[word] + lane, a[word]);
            store(state[word] + other, b[word]);
        }
    }
};

using FourLanes = uint32_t __attribute__((vector_size(16)));
using EightLanes = uint32_t __attribute__((vector_size(32)));

#if VELLORIA_AVX2_VARIANTS
VELLORIA_TARGET_AVX2 void sumsAvx2(uint32_t (*state)[16], uint32_t* out, size_t numBlocks)
{
    Generators<EightLanes>::run(state, out, numBlocks, 0);
}
#endif

} // namespace

void triangularSums(uint32_t (&state)[4][16], uint32_t* out, size_t numBlocks)
{
#if VELLORIA_AVX2_VARIANTS
    if (cpuHasAvx2())
        return sumsAvx2(state, out, numBlocks);
#endif
    Generators<FourLanes>::run(state, out, numBlocks, 0);
    Generators<FourLanes>::run(state, out, numBlocks, 8);
}

} // namespace velloria::SampleKernels
