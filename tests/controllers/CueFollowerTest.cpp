#include "controllers/CueFollower.h"

#include "display/WaveformViewGeometry.h"
#include "platform/UserDefaults.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace velloria
{

/// 10 seconds of a minute in a view 1000 pixels wide: 100 pixels a second.
class CueFollowerTest : public testing::Test
{
protected:
    static constexpr double kTick = 1.0 / 60.0;

    CueFollowerTest()
    {
        view.setSampleRate(44100);
        view.setTotalTime(60);
        view.setMargin(20);
        view.setViewWidth(1000);
        view.setZoom(441);
        view.setScrollPosition(0);
    }
    ~CueFollowerTest() override { UserDefaults::standard().removeValue(CueFollower::preferenceKey()); }

    void start(int mode, bool isRecording = false)
    {
        UserDefaults::standard().setValue(CueFollower::preferenceKey(), mode);
        follower.start(isRecording);
    }
    /// The cue runs between two times, a tick at a time.
    void run(double from, double to, bool isRecording = false)
    {
        for (double time = from; time < to; time += kTick)
            follower.follow(view, time - kTick, time, isRecording);
    }

    WaveformViewGeometry view;
    CueFollower follower;
};

TEST_F(CueFollowerTest, TurnsThePageAtTheRightMargin)
{
    start(CueFollower::byPage);
    run(1, 9.8 - kTick);
    EXPECT_EQ(view.scrollPosition(), 0);
    follower.follow(view, 9.79, 9.80, false);
    EXPECT_EQ(view.scrollPosition(), 960) << "the cue stands at the left margin";
    // A cue that is elsewhere already does not turn it.
    follower.follow(view, 30, 30.1, false);
    EXPECT_EQ(view.scrollPosition(), 960);
}

TEST_F(CueFollowerTest, EasesFromTheMarginToTheMiddleAndStaysThere)
{
    start(CueFollower::smoothly);
    double before = 9.799;
    for (int tick = 0; tick < 500; ++tick) {
        const double now = before + kTick;
        follower.follow(view, before, now, false);
        const double progress = std::max(0.0, 1.0 - 0.0025 * tick);
        const double share = (1.0 - std::cos(std::numbers::pi * progress)) / 2.0;
        // The view is 10 s wide with margins of 0.2 s.
        const double expected = now - 5.0 - share * (5.0 - 0.2);
        ASSERT_NEAR(view.revealedStartTime(), expected, 0.0101) << "tick " << tick;
        before = now;
    }
    EXPECT_NEAR(view.xAtTime(before), 500, 1);
}

TEST_F(CueFollowerTest, RidesTheRightMarginWhileRecording)
{
    start(CueFollower::never, true);
    run(30, 31, true);
    EXPECT_NEAR(view.xAtTime(31), 980, 2);
    view.setScrollPosition(0);
    follower.follow(view, 1, 1.1, true);
    EXPECT_EQ(view.scrollPosition(), 0) << "not before the beginning";
}

TEST_F(CueFollowerTest, FollowsNoMoreWhenToldSoUntilTheNextStart)
{
    for (const int mode : {CueFollower::smoothly, CueFollower::byPage}) {
        start(mode);
        follower.stop();
        run(9, 11);
        EXPECT_EQ(view.scrollPosition(), 0);
    }
    start(CueFollower::never);
    run(9, 11);
    EXPECT_EQ(view.scrollPosition(), 0);
}

} // namespace velloria
