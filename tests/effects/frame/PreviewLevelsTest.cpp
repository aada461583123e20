#include "effects/frame/PreviewLevels.h"

#include <gtest/gtest.h>

using namespace velloria;

namespace
{

PreviewLevels levels(float peak, float gain)
{
    return {{peak, 0.0F}, {0.0F, peak}, gain};
}

TEST(PreviewLevelQueue, GivesEachStretchWhenItIsHeard)
{
    PreviewLevelQueue queue;
    EXPECT_FALSE(queue.takeUntil(0));
    // A loop over frames 100 .. 399, then what lies behind it.
    queue.append(100, 200, levels(0.1F, 0.9F));
    queue.append(300, 100, levels(0.5F, 0.2F));
    queue.append(100, 200, levels(0.2F, 0.8F));
    queue.append(300, 100, levels(0.3F, 0.7F));
    queue.append(400, 100, levels(0.4F, 1.0F));
    struct Case {
        int64_t heard;
        float peak; ///< 0: nothing
        float gain;
    };
    const Case cases[] = {{99, 0.0F, 0.0F},  {100, 0.1F, 0.9F}, {299, 0.1F, 0.9F}, {350, 0.5F, 0.2F},
                          {120, 0.5F, 0.2F}, {121, 0.2F, 0.8F}, {450, 0.4F, 0.7F}, {350, 0.0F, 0.0F},
                          {-1, 0.0F, 0.0F},  {499, 0.4F, 1.0F}, {500, 0.0F, 0.0F}};
    for (const Case& c : cases) {
        const std::optional<PreviewLevels> taken = queue.takeUntil(c.heard);
        ASSERT_EQ(taken.has_value(), c.peak > 0.0F) << c.heard;
        if (!taken)
            continue;
        EXPECT_EQ(taken->input.leftPeak, c.peak) << c.heard;
        EXPECT_EQ(taken->output.rightPeak, c.peak) << c.heard;
        EXPECT_EQ(taken->lowestGain, c.gain) << c.heard;
    }
    queue.clear();
    EXPECT_FALSE(queue.takeUntil(499));
}

} // namespace
