#pragma once

#include <cstdint>
#include <random>

namespace velloria
{

/// White noise whose values are distributed in a triangle from -1 to 1: two uniform values of 31 bits are
/// added. The same seed gives the same noise.
class TriangularNoise
{
public:
    void seed(std::seed_seq& sequence) { mRandom.seed(sequence); }

    float next()
    {
        constexpr float kScale = 4.656613e-10F;
        const uint32_t first = static_cast<uint32_t>(mRandom()) >> 1;
        const uint32_t second = static_cast<uint32_t>(mRandom()) >> 1;
        return static_cast<float>(first + second) * kScale - 1.0F;
    }

private:
    std::mt19937 mRandom;
};

} // namespace velloria
