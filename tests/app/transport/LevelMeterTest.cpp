#include "app/kit/AppTestKit.h"
#include "app/transport/StereoMeter.h"
#include "app/transport/VLLevelMeterView.h"

#include <limits>

namespace velloria::test
{

/// A meter whose clock the test turns.
class LevelMeterTest : public testing::Test
{
protected:
    LevelMeterTest()
    {
        meter.setClock([this] { return now; });
        meter.resize(200 + VLLevelMeterView::kClipRoom, VLLevelMeterView::kHeight);
    }
    double shownAt(double time)
    {
        now = time;
        return meter.shownValue();
    }

    double now = 100.0;
    VLLevelMeterView meter{QStringLiteral("Level")};
};

TEST_F(LevelMeterTest, RisesFastAndFallsSlowly)
{
    meter.setLevelValue(-12);
    EXPECT_NEAR(shownAt(100.0 + 0.5 / 48.0), -36, 1e-6);
    EXPECT_NEAR(shownAt(100.0 + 1.0 / 48.0), -12, 1e-6);
    meter.setLevelValue(-36);
    EXPECT_NEAR(shownAt(now + 0.25 / 12.0), -18, 1e-6);
    // From where it is, not from where it should have been.
    meter.setLevelValue(-6);
    EXPECT_NEAR(meter.shownValue(), -18, 1e-6);
    EXPECT_EQ(shownAt(now + 1.0), -6);
}

TEST_F(LevelMeterTest, HoldsThePeakForTwoSeconds)
{
    meter.setLevelValue(-3);
    now = 101.5;
    meter.setLevelValue(-20);
    EXPECT_TRUE(meter.advance());
    EXPECT_EQ(meter.peakValue(), -3);
    now = 102.01;
    meter.advance();
    EXPECT_EQ(meter.peakValue(), VLLevelMeterView::kNoPeakDB);
    meter.setLevelValue(-25);
    EXPECT_EQ(meter.peakValue(), -25) << "a new peak is held at once";
    EXPECT_TRUE(meter.advance());
    now += 1.0;
    EXPECT_FALSE(meter.advance()) << "nothing moves any more";
}

TEST_F(LevelMeterTest, IsLinearInDecibelsFromMinus60)
{
    for (const auto& [level, x] :
         {std::pair{-75.0, 0.0}, {-60.0, 0.0}, {-30.0, 100.0}, {-6.0, 180.0}, {0.0, 200.0}, {3.0, 200.0}})
        EXPECT_DOUBLE_EQ(meter.xPositionForValue(level), x) << level;
    for (const double level : {-75.0, std::numeric_limits<double>::quiet_NaN()}) {
        meter.setLevelValue(level);
        EXPECT_EQ(meter.levelValue(), -60);
        EXPECT_EQ(meter.peakValue(), VLLevelMeterView::kNoPeakDB);
    }
}

TEST_F(LevelMeterTest, TheClipLightStaysOnUntilSomebodyPutsItOut)
{
    StereoMeter pair(QStringLiteral("Left"), QStringLiteral("Right"));
    pair.show();
    pair.setLevels(-0.01, 1.5);
    EXPECT_TRUE(pair.left().isClipIndicatorHidden());
    EXPECT_FALSE(pair.right().isClipIndicatorHidden());
    EXPECT_EQ(pair.right().levelValue(), 0);
    pair.setLevels(-30, -30);
    EXPECT_FALSE(pair.right().isClipIndicatorHidden());
    pair.setLevels(0, -30);
    QTest::mouseClick(&pair.left(), Qt::LeftButton);
    EXPECT_TRUE(pair.left().isClipIndicatorHidden());
    EXPECT_TRUE(pair.right().isClipIndicatorHidden());
}

} // namespace velloria::test
