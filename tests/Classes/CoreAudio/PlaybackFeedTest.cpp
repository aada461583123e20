#include "Classes/CoreAudio/PlaybackFeed.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace velloria;

namespace
{

class PlaybackFeedTest : public testing::Test
{
protected:
    PlaybackFeedTest()
    {
        feed.running = true;
        feed.sourceExhausted = true;
    }
    void render(uint32_t numFrames)
    {
        std::vector<float> left(numFrames);
        std::vector<float> right(numFrames);
        feed.render(left.data(), right.data(), numFrames);
    }

    PlaybackFeed feed{8192, 4096};
};

} // namespace

TEST_F(PlaybackFeedTest, WantsToStopAtTheSixthEmptyCall)
{
    const std::vector<float> frames(2 * 512, 0.5F);
    feed.ring.appendFloats(frames.data(), 512, 2, 0);
    // The call that empties the ring counts, too.
    for (int call = 1; call <= 8; ++call) {
        render(512);
        feed.noteRequest(0, 0, 0);
        EXPECT_EQ(feed.takeStopWanted(), call >= 6) << call;
    }
}

TEST_F(PlaybackFeedTest, WaitsUntilTheStagesAreDrawnEmpty)
{
    constexpr int64_t inStages = 5000;
    for (int64_t numSilent = 512; numSilent < 8000; numSilent += 512) {
        render(512);
        feed.noteRequest(inStages, 0, 0);
        EXPECT_EQ(feed.takeStopWanted(), numSilent >= inStages + 256) << numSilent;
    }
}

TEST(PlaybackClockTest, IsReadOffBetweenItsPointsAndNeverGoesBack)
{
    PlaybackClock clock;
    EXPECT_EQ(clock.numFramesHeardAt(0), std::nullopt);
    clock.add(1000, 10.0, 11.0);
    clock.add(2000, 10.999, 12.0); // What a server tells of its delay trembles.
    clock.add(2000, 12.0, 12.5);   // Silence.
    clock.add(3000, 14.0, 15.0);   // After a gap.
    clock.add(2500, 15.0, 16.0);   // Not so many after all.
    const std::pair<double, int64_t> expected[] = {{0, 0},       {10.25, 250}, {11, 1000},   {11.5, 1500},
                                                   {12.4, 2000}, {13.9, 2000}, {14.5, 2500}, {15, 3000},
                                                   {15.5, 3000}, {1000, 3000}};
    for (const auto& [time, numFrames] : expected)
        EXPECT_EQ(clock.numFramesHeardAt(time), numFrames) << time;
}

TEST(PlaybackClockTest, IsReadWhileItIsWritten)
{
    PlaybackClock clock;
    constexpr int64_t numBlocks = 300000;
    std::atomic<bool> isOver{false};
    std::thread device([&] {
        for (int64_t i = 0; i < numBlocks; ++i)
            clock.add(64 * (i + 1), static_cast<double>(i), static_cast<double>(i + 1));
        isOver = true;
    });
    // Each frame lasts as long as the others, so that a torn point shows.
    while (!isOver) {
        const std::optional<int64_t> last = clock.numFramesHeardAt(1e9);
        if (!last)
            continue;
        const double time = static_cast<double>(*last) / 64.0 - 100.25;
        const std::optional<int64_t> heard = clock.numFramesHeardAt(time);
        // What is older than the oldest point is as old as that.
        if (time > 0) {
            EXPECT_EQ((*heard - static_cast<int64_t>(64.0 * time)) % 16, 0) << *heard;
            EXPECT_GE(*heard, static_cast<int64_t>(64.0 * time));
        }
    }
    device.join();
}

TEST_F(PlaybackFeedTest, KeepsWhatItRenderedForWhoWantsIt)
{
    std::vector<float> pairs;
    for (int frame = 0; frame < 2048; ++frame)
        pairs.insert(pairs.end(), {static_cast<float>(frame), static_cast<float>(-frame)});
    feed.gain = 0.5F;
    const auto play = [&] {
        feed.ring.appendFloats(pairs.data(), 2048, 2, 0);
        for (int call = 0; call < 5; ++call)
            render(512);
    };
    const auto taken = [this] {
        const std::span<const float> frames = feed.rendered().take();
        return std::vector<float>(frames.begin(), frames.end());
    };
    play();
    EXPECT_EQ(taken(), std::vector<float>()) << "nobody wanted it";
    feed.rendered().setWanted(true);
    play();
    EXPECT_EQ(taken(), pairs) << "before the gain, without the silence behind it";
    EXPECT_EQ(taken(), std::vector<float>());
    play();
    feed.rendered().setWanted(false);
    play();
    feed.rendered().setWanted(true);
    EXPECT_EQ(taken(), std::vector<float>()) << "what came before the pause is of no use";
    // Nobody fetches it: the memory is full at some time, and what does not fit is lost.
    for (int i = 0; i < 6; ++i)
        play();
    const std::vector<float> kept = taken();
    EXPECT_EQ(kept.size(), size_t{2} * 8191);
    EXPECT_TRUE(std::equal(pairs.begin(), pairs.end(), kept.begin() + 2 * std::ssize(pairs)));
    play();
    EXPECT_EQ(taken(), pairs);
}

TEST(PeakHolderTest, TellsSilenceFromNothing)
{
    PeakHolder peaks;
    EXPECT_FALSE(peaks.take());
    peaks.raise({0.25F, 0.0F});
    peaks.raise({0.125F, 0.5F});
    const std::optional<PeakHolder::Peaks> taken = peaks.take();
    ASSERT_TRUE(taken);
    EXPECT_EQ(taken->leftPeak, 0.25F);
    EXPECT_EQ(taken->rightPeak, 0.5F);
    peaks.raise({0.0F, 0.0F});
    ASSERT_TRUE(peaks.take());
    EXPECT_FALSE(peaks.take());
}
