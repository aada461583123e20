#include "document/clips/Dither.h"

#include "document/clips/SampleKernels.h"

#include <algorithm>
#include <cmath>
#include <mutex>

namespace velloria
{

namespace
{

/// SplitMix64 (Steele, Lea and Flood), which the authors of xoshiro recommend for seeding it.
uint64_t nextSeed(uint64_t& state)
{
    state += 0x9E3779B97F4A7C15;
    uint64_t z = state;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
    return z ^ (z >> 31);
}

struct DepthRule {
    int shift;
    int32_t ceiling;
    int32_t mask;
};

DepthRule ruleOf(int64_t bitDepth)
{
    if (bitDepth <= 8)
        return {24, 0x7F, 0xFFFFFF};
    if (bitDepth <= 16)
        return {16, 0x7FFF, 0xFFFF};
    return {8, 0x7FFFFF, 0xFF};
}

} // namespace

DitherGenerator::DitherGenerator(uint64_t seed)
{
    for (size_t lane = 0; lane < kLanes; ++lane) {
        for (size_t word = 0; word < 4; word += 2) {
            const uint64_t bits = nextSeed(seed);
            mState[word][lane] = static_cast<uint32_t>(bits);
            mState[word + 1][lane] = static_cast<uint32_t>(bits >> 32);
        }
    }
}

uint32_t DitherGenerator::next()
{
    if (mNumKept == 0) {
        SampleKernels::triangularSums(mState, mKept, 1);
        mNumKept = kLanes;
    }
    return mKept[kLanes - mNumKept--];
}

void DitherGenerator::fill(std::span<uint32_t> sums)
{
    size_t done = 0;
    while (mNumKept > 0 && done < sums.size())
        sums[done++] = next();
    const size_t numBlocks = (sums.size() - done) / kLanes;
    SampleKernels::triangularSums(mState, sums.data() + done, numBlocks);
    done += numBlocks * kLanes;
    while (done < sums.size())
        sums[done++] = next();
}

double triangularFraction(uint32_t sum)
{
    return sum / 2147483647.0 * 0.5;
}

double DitherGenerator::triangularRandom()
{
    return triangularFraction(next());
}

int32_t ditheredSample(float sample, int64_t bitDepth, DitherGenerator& generator)
{
    const float clamped = sample == sample ? std::clamp(sample, -1.0F, 1.0F) : 0.0F;
    const auto value = static_cast<int32_t>(std::round(clamped * 2147483647.0));
    if (bitDepth > 24)
        return value;
    const DepthRule rule = ruleOf(bitDepth);
    const int32_t quotient = value >> rule.shift;
    const double fraction = static_cast<double>(value & rule.mask) / rule.mask;
    const double threshold = generator.triangularRandom();
    return quotient < rule.ceiling && fraction > threshold ? quotient + 1 : quotient;
}

void fillFromProcessDither(std::span<uint32_t> sums)
{
    static std::mutex mutex;
    static DitherGenerator generator;
    const std::lock_guard lock(mutex);
    generator.fill(sums);
}

} // namespace velloria
