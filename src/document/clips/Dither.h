#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace velloria
{

/// The uniform random numbers behind the dither: sums r1 + r2 of two draws of 31 bits each (0 .. 2^31 - 1),
/// whose distribution is triangular. Sixteen xoshiro128+ generators (Blackman and Vigna) take turns, so that
/// a vector of sums is made at once; the sequence does not depend on how it is cut into calls. One thread at
/// a time.
class DitherGenerator
{
public:
    static constexpr size_t kLanes = 16;

    /// Always the same sequence for the same seed.
    explicit DitherGenerator(uint64_t seed = 0x9E3779B97F4A7C15);

    /// The next sum.
    uint32_t next();
    void fill(std::span<uint32_t> sums);

    /// The next sum as a fraction: 0.0 .. 1.0 with the peak of the distribution at 0.5.
    double triangularRandom();

private:
    alignas(64) uint32_t mState[4][kLanes];
    // Sums made but not yet handed out: the last mNumKept ones.
    uint32_t mKept[kLanes];
    size_t mNumKept = 0;
};

/// (r1 + r2) / 2147483647.0 * 0.5.
double triangularFraction(uint32_t sum);

/// One float sample as an integer of `bitDepth` bits: below 25 bits the discarded fraction is rounded up
/// where it is above a triangular random threshold. This is the plain form of what the kernels of AudioData
/// do in bulk. A NaN counts as 0.
int32_t ditheredSample(float sample, int64_t bitDepth, DitherGenerator& generator);

/// The next sums of the process' generator, the same sequence each run. Any thread.
void fillFromProcessDither(std::span<uint32_t> sums);

} // namespace velloria
