#include "document/clips/SampleKernels.h"

#include "MemorySource.h"
#include "document/clips/AudioData.h"
#include "document/clips/Dither.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace velloria
{
namespace
{

constexpr std::byte kGuard{0xA5};
constexpr float kFloatGuard = 12345.0F;

/// The scaled sample at a sample index, in double precision.
float slowFloat(const std::vector<std::byte>& bytes, size_t size, size_t index)
{
    uint32_t word = 0;
    for (size_t i = 0; i < size; ++i)
        word |= std::to_integer<uint32_t>(bytes[index * size + i]) << (8 * (i + 4 - size));
    return static_cast<float>(static_cast<int32_t>(word) * 0x1p-31);
}

class Sizes : public testing::TestWithParam<size_t>
{
};

TEST_P(Sizes, EveryStrideAndLengthReadsAsTheSlowFormula)
{
    const size_t size = GetParam();
    for (size_t stride = 1; stride <= 9; ++stride) {
        for (size_t numFrames = 0; numFrames < 70; ++numFrames) {
            const auto bytes = randomBytes(numFrames * stride * size, static_cast<unsigned>(numFrames));
            for (size_t channel = 0; channel < stride; ++channel) {
                std::vector<float> out(numFrames + 1, kFloatGuard);
                ASSERT_TRUE(SampleConversion::integersToFloats(
                    bytes, static_cast<int64_t>(size), static_cast<int64_t>(channel),
                    static_cast<int64_t>(stride), std::span(out).first(numFrames)));
                for (size_t i = 0; i < numFrames; ++i)
                    ASSERT_EQ(out[i], slowFloat(bytes, size, channel + i * stride)) << stride << " " << i;
                ASSERT_EQ(out[numFrames], kFloatGuard);
            }
        }
    }
}

TEST_P(Sizes, AllChannelsAtOnceEqualEachAlone)
{
    const size_t size = GetParam();
    for (const size_t numChannels : {1U, 2U, 3U, 6U, 17U}) {
        for (const size_t numFrames : {0U, 1U, 31U, 500U, 2500U}) {
            const auto bytes = randomBytes(numFrames * numChannels * size, 3);
            std::vector<std::vector<float>> channels(numChannels,
                                                     std::vector<float>(numFrames + 1, kFloatGuard));
            std::vector<float*> pointers;
            for (auto& channel : channels)
                pointers.push_back(channel.data());
            ASSERT_TRUE(SampleConversion::deinterleaveToFloats(bytes, static_cast<int64_t>(size), pointers,
                                                               static_cast<int64_t>(numFrames)));
            for (size_t channel = 0; channel < numChannels; ++channel) {
                for (size_t i = 0; i < numFrames; ++i)
                    ASSERT_EQ(channels[channel][i], slowFloat(bytes, size, channel + i * numChannels));
                ASSERT_EQ(channels[channel][numFrames], kFloatGuard);
            }
        }
    }
}

/// Samples around everything that could go wrong: the ends of the range, the steps of the integers, halves.
std::vector<float> difficultFloats(size_t size)
{
    std::vector<float> samples = randomFloats(3000, 1.2F, 7);
    const double step = std::ldexp(1.0, 1 - static_cast<int>(8 * size));
    for (const double centre : {-1.0, -0.5, 0.0, 0.25, 0.5, 1.0}) {
        for (int i = -8; i <= 8; ++i)
            samples.push_back(static_cast<float>(centre + i * step / 4));
        for (int i = 1; i < 40; ++i)
            samples.push_back(static_cast<float>(centre + std::ldexp(1.0, -i)));
    }
    const float infinity = std::numeric_limits<float>::infinity();
    samples.insert(samples.end(),
                   {infinity, -infinity, std::numeric_limits<float>::quiet_NaN(), -0.0F, 1e-40F});
    return samples;
}

TEST_P(Sizes, IntegersEqualTheRuleForTheSameRandomNumbers)
{
    const size_t size = GetParam();
    const auto samples = difficultFloats(size);
    for (int round = 0; round < 200; ++round) {
        const uint64_t seed = static_cast<uint64_t>(round) + 1;
        std::vector<std::byte> out(samples.size() * size + 1, kGuard);
        DitherGenerator forKernel(seed);
        DitherGenerator forRule(seed);
        ASSERT_TRUE(SampleConversion::floatsToIntegers(samples, static_cast<int64_t>(size), out.data(), 1,
                                                       forKernel));
        for (size_t i = 0; i < samples.size(); ++i) {
            const int32_t expected = ditheredSample(samples[i], static_cast<int64_t>(8 * size), forRule);
            ASSERT_EQ(slowFloat(out, size, i),
                      std::ldexp(static_cast<float>(expected), 1 - 8 * static_cast<int>(size)))
                << samples[i];
        }
        ASSERT_EQ(out.back(), kGuard);
    }
}

TEST_P(Sizes, NearestIntegersAreTheOnesThatTheFloatsCameFrom)
{
    const size_t size = GetParam();
    const auto half = int64_t{1} << (8 * size - 1);
    // Floats hold 24 bits.
    const int64_t step = size == 4 ? 256 : 1;
    for (const size_t stride : {1U, 3U}) {
        std::vector<int64_t> codes;
        for (int64_t i = 0; i < 5000; ++i)
            codes.push_back(-half + (size == 1 ? i % 256 : i * step));
        for (int64_t i = 5000; i > 0; --i)
            codes.push_back(half - (size == 1 ? i % 256 + 1 : i * step));
        std::vector<float> floats;
        for (const int64_t code : codes)
            floats.push_back(static_cast<float>(static_cast<double>(code) / static_cast<double>(half)));
        std::vector<std::byte> out(codes.size() * stride * size, kGuard);
        ASSERT_TRUE(SampleConversion::floatsToNearestIntegers(floats, static_cast<int64_t>(size), out.data(),
                                                              static_cast<int64_t>(stride)));
        for (size_t i = 0; i < codes.size(); ++i) {
            int64_t found = 0;
            for (size_t byte = size; byte-- > 0;)
                found = found << 8 | std::to_integer<int64_t>(out[i * stride * size + byte]);
            ASSERT_EQ(found >= half ? found - 2 * half : found, codes[i]);
        }
        for (size_t i = size; stride > 1 && i < out.size(); i += stride * size)
            ASSERT_EQ(out[i], kGuard);
    }
}

INSTANTIATE_TEST_SUITE_P(SampleKernels, Sizes, testing::Values(1, 2, 3, 4));

TEST(SampleKernels, IntegersWrittenWithAStrideLeaveTheRestAlone)
{
    for (const size_t size : {1U, 2U, 3U, 4U}) {
        for (const size_t stride : {1U, 2U, 5U}) {
            for (const size_t count : {0U, 1U, 7U, 100U, 5000U}) {
                const auto samples = randomFloats(count, 1.0F, 1);
                DitherGenerator first(5);
                DitherGenerator second(5);
                std::vector<std::byte> packed(count * size);
                std::vector<std::byte> spread(count * size * stride + 1, kGuard);
                const auto bytes = static_cast<int64_t>(size);
                SampleConversion::floatsToIntegers(samples, bytes, packed.data(), 1, first);
                SampleConversion::floatsToIntegers(samples, bytes, spread.data(),
                                                   static_cast<int64_t>(stride), second);
                for (size_t i = 0; i < count * size * stride; ++i) {
                    const size_t sample = i / size;
                    const bool written = sample % stride == 0;
                    ASSERT_EQ(spread[i], written ? packed[sample / stride * size + i % size] : kGuard);
                }
                ASSERT_EQ(spread.back(), kGuard);
            }
        }
    }
}

TEST(SampleKernels, ThresholdsAgreeWithTheRuleAtEveryFraction)
{
    // For every 16- and 24-bit fraction: the largest sum that still rounds up, and the next, which does not.
    struct Case {
        int32_t mask;
        int shift;
    };
    for (const Case each : {Case{0xFFFF, 16}, Case{0xFF, 8}}) {
        for (int32_t fraction = 0; fraction <= each.mask; ++fraction) {
            // A float that gives just this value: 24 bits at most.
            const float sample = std::ldexp(static_cast<float>(fraction), -31);
            const double ratio = static_cast<double>(fraction) / each.mask;
            const auto around = static_cast<int64_t>(ratio * 4294967294.0);
            for (int64_t sum = std::max<int64_t>(0, around - 2);
                 sum <= std::min<int64_t>(4294967294, around + 2); ++sum) {
                const auto word = static_cast<uint32_t>(sum);
                int32_t result = 0;
                if (each.shift == 16) {
                    int16_t narrow = 0;
                    SampleKernels::quantise16(&sample, &word, &narrow, 1);
                    result = narrow;
                } else {
                    SampleKernels::quantise24(&sample, &word, &result, 1);
                }
                ASSERT_EQ(result, ratio > triangularFraction(word) ? 1 : 0) << fraction << " " << sum;
            }
        }
    }
}

TEST(SampleKernels, NearestIntegersRoundHalvesAwayFromZeroAndStayInRange)
{
    const struct {
        int bits;
        float sample;
        int32_t expected;
    } cases[] = {
        {16, 1.0F, 32767},
        {16, -1.0F, -32768},
        {16, 0.5F / 32768.0F, 1},
        {16, -0.5F / 32768.0F, -1},
        {16, 0.49999997F / 32768.0F, 0},
        {24, 1.0F, 8388607},
        {24, -2.0F, -8388608},
        {12, 0.25F, 512},
        {20, std::numeric_limits<float>::infinity(), 524287},
        {32, 1.0F, 2147483647},
        {32, -1.0F, std::numeric_limits<int32_t>::min()},
        {16, std::numeric_limits<float>::quiet_NaN(), 0},
        {16, std::numeric_limits<float>::denorm_min(), 0},
    };
    for (const auto& c : cases) {
        // Long enough that vectors and remainder both see it.
        const std::vector<float> in(19, c.sample);
        std::vector<int32_t> out(19);
        SampleKernels::roundToIntegers(in.data(), c.bits, out.data(), in.size());
        EXPECT_EQ(out, std::vector<int32_t>(19, c.expected)) << c.bits << " bits, " << c.sample;
    }
}

TEST(SampleKernels, FloatsAreInterleavedGatheredAndSpread)
{
    for (const size_t numChannels : {1U, 2U, 3U, 8U}) {
        for (const size_t numFrames : {0U, 1U, 15U, 257U, 1000U}) {
            std::vector<std::vector<float>> channels;
            std::vector<const float*> pointers;
            for (size_t channel = 0; channel < numChannels; ++channel) {
                channels.push_back(randomFloats(numFrames, 1.0F, static_cast<unsigned>(channel)));
                pointers.push_back(channels.back().data());
            }
            std::vector<float> frames(numFrames * numChannels + 1, kFloatGuard);
            SampleKernels::interleave(pointers, frames.data(), numFrames);
            ASSERT_EQ(frames.back(), kFloatGuard);
            for (size_t channel = 0; channel < numChannels; ++channel) {
                std::vector<float> back(numFrames);
                SampleKernels::gatherFloats(std::as_bytes(std::span(frames)).data() + 4 * channel,
                                            numChannels, back.data(), numFrames);
                ASSERT_EQ(back, channels[channel]);
            }
        }
    }
    const std::vector<float> mono = {1.0F, -2.0F, 3.0F};
    std::vector<float> stereo(6);
    SampleKernels::spreadToStereo(mono.data(), 0.5F, 2.0F, stereo.data(), 3);
    EXPECT_EQ(stereo, (std::vector<float>{0.5F, 2, -1, -4, 1.5F, 6}));
    SampleKernels::addToStereo(mono.data(), 1.0F, 0.0F, stereo.data(), 3);
    EXPECT_EQ(stereo, (std::vector<float>{1.5F, 2, -3, -4, 4.5F, 6}));
}

} // namespace
} // namespace velloria
