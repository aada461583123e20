#include "display/summary/SummaryKernels.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace velloria
{
namespace
{

TEST(SummaryKernels, FindTheExtremeWhereverItStands)
{
    // One outlier on either side at every place of every length around the widths of the vector loops.
    for (size_t count = 1; count < 140; ++count) {
        std::vector<int16_t> words(count, 5);
        std::vector<float> floats(count, 0.5F);
        for (size_t place = 0; place < count; ++place) {
            words[place] = static_cast<int16_t>(place % 2 ? -32768 : 32767);
            floats[place] = place % 2 ? -3.0F : 3.0F;
            const auto wordRange = SummaryKernels::range(words.data(), count);
            const auto floatRange = SummaryKernels::range(floats.data(), count);
            ASSERT_EQ(wordRange.min, *std::min_element(words.begin(), words.end())) << count << " " << place;
            ASSERT_EQ(wordRange.max, *std::max_element(words.begin(), words.end())) << count << " " << place;
            ASSERT_EQ(floatRange.min, *std::min_element(floats.begin(), floats.end()))
                << count << " " << place;
            ASSERT_EQ(floatRange.max, *std::max_element(floats.begin(), floats.end()))
                << count << " " << place;
            words[place] = 5;
            floats[place] = 0.5F;
        }
    }
    EXPECT_TRUE(SummaryKernels::range(static_cast<const float*>(nullptr), 0).isEmpty());
}

TEST(SummaryKernels, SkipNanAtEveryPlace)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (size_t place = 0; place < 100; ++place) {
        std::vector<float> floats(100, nan);
        EXPECT_TRUE(SummaryKernels::range(floats.data(), floats.size()).isEmpty());
        floats[place] = -0.25F;
        const auto range = SummaryKernels::range(floats.data(), floats.size());
        EXPECT_EQ(range.min, -0.25F);
        EXPECT_EQ(range.max, -0.25F);
    }
}

TEST(SummaryKernels, PairsGiveTheLeastMinimumAndTheGreatestMaximum)
{
    std::mt19937 engine(1);
    for (size_t count = 1; count < 200; count += 3) {
        std::vector<int16_t> pairs(2 * count);
        std::generate(pairs.begin(), pairs.end(), [&] { return static_cast<int16_t>(engine()); });
        int16_t min = INT16_MAX;
        int16_t max = INT16_MIN;
        for (size_t i = 0; i < count; ++i) {
            min = std::min(min, pairs[2 * i]);
            max = std::max(max, pairs[2 * i + 1]);
        }
        const auto range = SummaryKernels::rangeOfPairs(pairs.data(), count);
        EXPECT_EQ(range.min, min);
        EXPECT_EQ(range.max, max);
    }
}

} // namespace
} // namespace velloria
