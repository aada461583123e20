#include "document/clips/Dither.h"

#include "document/clips/AudioData.h"

#include <array>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <numeric>
#include <random>
#include <thread>

namespace velloria
{
namespace
{

TEST(Dither, TheSequenceDoesNotDependOnHowItIsCut)
{
    DitherGenerator whole;
    std::vector<uint32_t> expected(5000);
    whole.fill(expected);
    for (const size_t piece : {size_t{1}, size_t{5}, size_t{16}, size_t{33}, size_t{1000}}) {
        DitherGenerator generator;
        std::vector<uint32_t> sums(expected.size());
        for (size_t i = 0; i < sums.size(); i += piece)
            generator.fill(std::span(sums).subspan(i, std::min(piece, sums.size() - i)));
        EXPECT_EQ(sums, expected) << piece;
    }
}

TEST(Dither, RandomNumbersAreTriangularAndIndependent)
{
    DitherGenerator generator;
    constexpr size_t kCount = 1 << 20;
    constexpr size_t kBins = 64;
    std::vector<double> values(kCount);
    std::generate(values.begin(), values.end(), [&] { return generator.triangularRandom(); });
    std::array<double, kBins> histogram = {};
    for (const double value : values) {
        ASSERT_GE(value, 0.0);
        ASSERT_LE(value, 1.0);
        ++histogram[static_cast<size_t>(value * kBins)];
    }
    // Chi-squared with 63 degrees of freedom: 120 is passed by chance once in 10^5 generators.
    double chiSquared = 0;
    for (size_t bin = 0; bin < kBins; ++bin) {
        const auto density = [](double x) { return x < 0.5 ? 2 * x * x : 1 - 2 * (1 - x) * (1 - x); };
        const double probability = density((bin + 1.0) / kBins) - density(static_cast<double>(bin) / kBins);
        const double expected = probability * kCount;
        chiSquared += (histogram[bin] - expected) * (histogram[bin] - expected) / expected;
    }
    EXPECT_LT(chiSquared, 120.0);
    // Neighbours within a lane, across lanes and over the period of the lanes are uncorrelated: the
    // correlation of independent values stays within 5 / sqrt(count).
    for (const size_t lag : {1U, 2U, 8U, 15U, 16U, 17U, 32U}) {
        double sum = 0;
        for (size_t i = lag; i < kCount; ++i)
            sum += (values[i] - 0.5) * (values[i - lag] - 0.5);
        EXPECT_LT(std::abs(sum / static_cast<double>(kCount) * 24.0), 5.0 / std::sqrt(kCount)) << lag;
    }
}

TEST(Dither, QuantisesAsTold)
{
    DitherGenerator generator;
    for (int i = 0; i < 10'000; ++i) {
        EXPECT_EQ(ditheredSample(1.0F, 16, generator), 32767);
        EXPECT_EQ(ditheredSample(7.0F, 24, generator), 8388607);
        EXPECT_EQ(ditheredSample(1.5F, 8, generator), 127);
        const int32_t lowest = ditheredSample(-1.0F, 16, generator);
        EXPECT_TRUE(lowest == -32768 || lowest == -32767);
    }
    EXPECT_EQ(ditheredSample(1.0F, 32, generator), 2147483647);
    EXPECT_EQ(ditheredSample(-1.0F, 32, generator), -2147483647);
    EXPECT_EQ(ditheredSample(-9.0F, 25, generator), -2147483647);
    EXPECT_EQ(ditheredSample(std::numeric_limits<float>::quiet_NaN(), 32, generator), 0);
}

/// The rule in plain arithmetic: floors and remainders where the program shifts and masks.
long long quantisedSlowly(float sample, int depth, double threshold)
{
    const int kept = depth <= 8 ? 8 : depth <= 16 ? 16 : 24;
    const long double unit = std::pow(2.0L, 32 - kept);
    const long double largest = std::pow(2.0L, kept - 1) - 1;
    const long double inRange = std::clamp<long double>(sample, -1.0L, 1.0L);
    const long double whole = std::round(inRange * 2147483647.0L);
    const long double below = std::floor(whole / unit);
    const double fraction = static_cast<double>(whole - below * unit) / static_cast<double>(unit - 1.0L);
    return static_cast<long long>(below < largest && fraction > threshold ? below + 1.0L : below);
}

TEST(Dither, FollowsTheRuleForTheSameRandomNumbers)
{
    DitherGenerator generator(5);
    DitherGenerator same(5);
    std::mt19937 random(9);
    std::uniform_real_distribution<float> values(-1.1F, 1.1F);
    for (const int depth : {1, 8, 12, 16, 20, 24}) {
        for (int i = 0; i < 50'000; ++i) {
            const float sample = i % 3 == 0 ? values(random) * 1e-4F : values(random);
            const auto sum = static_cast<double>(same.next());
            ASSERT_EQ(ditheredSample(sample, depth, generator),
                      quantisedSlowly(sample, depth, sum / 2147483647.0 * 0.5))
                << sample << " at " << depth;
        }
    }
}

TEST(Dither, ARandomNumberIsDrawnForEverySampleBelow25Bits)
{
    for (const int64_t depth : {8, 16, 24}) {
        DitherGenerator used;
        DitherGenerator reference;
        ditheredSample(0.0F, depth, used);
        reference.next();
        EXPECT_EQ(used.next(), reference.next()) << depth;
    }
    DitherGenerator used;
    DitherGenerator reference;
    ditheredSample(0.5F, 32, used);
    EXPECT_EQ(used.next(), reference.next());
}

TEST(Dither, KeepsTheMeanOfAConstant)
{
    // The threshold is triangular, so a discarded fraction f rounds up with probability 2 f^2 or 1 - 2 (1 -
    // f)^2.
    constexpr size_t kCount = 400'000;
    for (const int64_t bytes : {1, 2, 3}) {
        const double steps = std::ldexp(1.0, static_cast<int>(8 * bytes - 1));
        for (const double fraction : {0.0, 0.125, 0.5, 0.75}) {
            const auto sample = static_cast<float>((5 + fraction) / steps);
            const std::vector<float> in(kCount, sample);
            std::vector<std::byte> out(kCount * static_cast<size_t>(bytes));
            ASSERT_TRUE(SampleConversion::floatsToIntegers(in, bytes, out.data()));
            std::vector<float> back(kCount);
            ASSERT_TRUE(SampleConversion::integersToFloats(out, bytes, 0, 1, back));
            double mean = 0;
            for (const float value : back)
                mean += value * steps / kCount;
            const double up =
                fraction < 0.5 ? 2 * fraction * fraction : 1 - 2 * (1 - fraction) * (1 - fraction);
            // Five standard deviations, and a 24-bit step is 1/256 wide in what is discarded.
            EXPECT_NEAR(mean, 5 + up, 5 * 0.5 / std::sqrt(kCount) + 0.02 * (bytes == 3))
                << bytes << " " << fraction;
        }
    }
}

TEST(Dither, ThreadsShareOneGenerator)
{
    std::vector<std::vector<uint32_t>> sums(4, std::vector<uint32_t>(10'000));
    std::vector<std::thread> threads;
    for (auto& block : sums)
        threads.emplace_back([&block] { fillFromProcessDither(block); });
    for (auto& thread : threads)
        thread.join();
    for (size_t i = 1; i < sums.size(); ++i)
        EXPECT_NE(sums[0], sums[i]);
}

} // namespace
} // namespace velloria
