#include "Classes/CoreAudio/PlayingKit.h"

using namespace velloria;
using kit::PlayingTest;

TEST_F(PlayingTest, PlaysEveryFrameOnceAndThenStopsByItself)
{
    makeRamps(150000);
    ASSERT_EQ(transport().playSelection(everything(), 0), std::nullopt);
    EXPECT_TRUE(transport().isPlaying());
    EXPECT_EQ(play(150000, {512, 1, 777, 4096, 5000, 64}), rampFrames(0, 150000));
    EXPECT_EQ(play(100), std::vector<float>(100, 0.0F));
    EXPECT_TRUE(waitForStop());
    EXPECT_TRUE(transport().hasReachedEnd());
    EXPECT_FALSE(transport().isPlaying());
    EXPECT_EQ(hardware->output(), nullptr) << "nothing runs when nothing plays";
    EXPECT_EQ(transport().cueTime(), -1.0);
}

TEST_F(PlayingTest, RecoversFromStarvationWithoutLosingAFrame)
{
    makeRamps(400000);
    transport().playSelection(everything(), 0);
    std::vector<float> played;
    while (played.size() < 400000) {
        // Faster than any disk: the ring runs dry again and again.
        const std::vector<float> frames = hardware->output()->pull(4096);
        for (size_t i = 0; i < frames.size(); i += 2)
            if (frames[i] != 0.0F)
                played.push_back(frames[i]);
        if (frames.empty())
            break;
    }
    EXPECT_EQ(played, rampFrames(0, 400000));
}

TEST_F(PlayingTest, LoopsWithoutAGapOrARepeatedFrame)
{
    makeRamps(20000);
    for (const int64_t length : {1, 5, 511, 512, 700, 6000}) {
        SCOPED_TRACE(length);
        transport().setAudioPlaybackLoops(true);
        transport().playSelection(range(1000, 1000 + length), seconds(1000));
        std::vector<float> expected;
        while (expected.size() < 9000)
            expected.push_back(static_cast<float>(1001 + static_cast<int64_t>(expected.size()) % length));
        EXPECT_EQ(play(9000, {300, 1000}), expected);
        transport().stopSound();
        EXPECT_TRUE(waitForStop());
    }
}

TEST_F(PlayingTest, GoesOnAtAMovedCueWithItsVeryFrame)
{
    makeRamps(300000);
    transport().playSelection(everything(), seconds(100));
    EXPECT_EQ(play(3000), rampFrames(100, 3100));
    for (const int64_t cue : {250000, 0, 77777}) {
        transport().playSelection(everything(), seconds(cue));
        EXPECT_EQ(transport().audioPlaybackRecordingCueStart(), cue);
        EXPECT_EQ(play(20000, {333}), rampFrames(cue, cue + 20000));
    }
    transport().playSelection(everything(), seconds(299000));
    EXPECT_EQ(play(1000), rampFrames(299000, 300000));
    transport().playSelection(everything(), 0);
    EXPECT_EQ(play(5000), rampFrames(0, 5000)) << "also from the very end";
}

TEST_F(PlayingTest, AppliesAChangedLoopToWhatIsHeardNext)
{
    makeRamps(300000);
    transport().playSelection(everything(), 0);
    EXPECT_EQ(play(10000), rampFrames(0, 10000));
    transport().setAudioPlaybackLoops(true, 5000, 12000);
    std::vector<float> expected = rampFrames(10000, 12000);
    for (const float frame : rampFrames(5000, 12000))
        expected.push_back(frame);
    EXPECT_EQ(play(9000, {123}), expected);
    // Off in the middle of the second round: straight on.
    EXPECT_EQ(play(1000), rampFrames(5000, 6000));
    transport().setAudioPlaybackLoops(false, 0, 300000);
    EXPECT_EQ(play(50000), rampFrames(6000, 56000));
    // A loop that lies before what is heard begins at once.
    transport().setAudioPlaybackLoops(true, 100, 200);
    EXPECT_EQ(play(100), rampFrames(100, 200));
}

namespace
{

/// Keeps all that the device got, so that its own latency tells which frame is heard.
class HeardFrameTest : public PlayingTest
{
protected:
    void pull(uint32_t numFrames)
    {
        for (const float sample : play(numFrames, {numFrames}))
            mGot.push_back(sample);
    }
    /// Of the ramp.
    int64_t heardFrame() const
    {
        const auto index = std::max<int64_t>(0, std::ssize(mGot) - kLatency);
        return static_cast<int64_t>(mGot[static_cast<size_t>(index)]) - 1;
    }
    int64_t toldFrame() { return transport().audioPlayback()->playbackTimestamp(); }

    std::vector<float> mGot;
};

} // namespace

TEST_F(HeardFrameTest, IsToldToTheFrameThroughLoops)
{
    makeRamps(200000);
    transport().setAudioPlaybackLoops(true);
    transport().playSelection(range(1000, 60000), seconds(50000));
    EXPECT_EQ(toldFrame(), -1);
    for (int i = 0; i < 100; ++i) {
        pull(i % 3 == 0 ? kRequest : 777);
        EXPECT_EQ(toldFrame(), heardFrame());
    }
    EXPECT_NEAR(transport().cueTime(), seconds(toldFrame()), 1e-9);
}

TEST_F(HeardFrameTest, NeverRunsAheadWhenTheCueTheLoopOrTheSoundIsChanged)
{
    makeRamps(300000);
    transport().playSelection(everything(), 0);
    const std::function<void()> changes[] = {
        [this] { transport().playSelection(everything(), seconds(150000)); },
        [this] { transport().setAudioPlaybackLoops(true, 140000, 170000); },
        [this] { transport().playSelection(everything(), seconds(1000)); },
        [this] { transport().setAudioPlaybackLoops(false, 0, 300000); },
        [this] {
            for (const int32_t track : {0, 1})
                document->replaceDataAtOffset(290000, 10000, track, {});
            transport().documentDidChange();
        },
        [this] { transport().playSelection(everything(), seconds(200000)); },
    };
    for (const auto& change : changes) {
        for (int i = 0; i < 5; ++i)
            pull(kRequest);
        const int64_t before = toldFrame();
        change();
        EXPECT_EQ(toldFrame(), before);
        for (const uint32_t numFrames : {1U, 333U, kRequest, 64U, kRequest, 2000U}) {
            pull(numFrames);
            EXPECT_EQ(toldFrame(), heardFrame());
        }
    }
}

TEST_F(HeardFrameTest, ShowsAMovedCueWhereItWillBeHeard)
{
    makeRamps(300000);
    transport().playSelection(everything(), seconds(100000));
    EXPECT_EQ(transport().nextCueTime(), seconds(100000));
    for (int i = 0; i < 5; ++i)
        pull(kRequest);
    transport().playSelection(everything(), seconds(1000));
    for (int64_t numTaken = 0; numTaken < 3 * kLatency; numTaken += 441) {
        const int64_t numHeard = std::max<int64_t>(0, numTaken - kLatency);
        EXPECT_NEAR(transport().nextCueTime(), seconds(1000 + numHeard), 1e-9);
        pull(441);
    }
}

TEST_F(HeardFrameTest, MovesWithTimeBetweenTwoRequestsAndNotBeyondWhatWasTaken)
{
    makeRamps(300000);
    transport().playSelection(everything(), 0);
    SimulatedOutput& device = *hardware->output();
    for (int64_t request = 0; request < 5; ++request) {
        waitForFill(kRequest);
        device.ask(kRequest);
        for (int64_t passed = 0; passed < kRequest; passed += 441) {
            EXPECT_NEAR(static_cast<double>(toldFrame()),
                        static_cast<double>(std::max<int64_t>(0, request * kRequest + passed - kLatency)), 1);
            device.letTimePass(441);
        }
    }
    // It asks no more.
    device.letTimePass(10 * kRequest);
    EXPECT_EQ(toldFrame(), 5 * kRequest);
    EXPECT_EQ(transport().audioPlayback()->core().feed().numConsumed, 5 * kRequest);
}

TEST_F(PlayingTest, HasAWholeRequestReadyRightAfterAMovedCue)
{
    makeRamps(300000);
    for (const double speed : {1.0, 2.0}) {
        transport().setPlaybackSpeed(speed);
        transport().playSelection(everything(), 0);
        for (const int64_t cue : {150000, 20000, 90000}) {
            play(3 * kRequest);
            transport().playSelection(everything(), seconds(cue));
            const std::vector<float> frames = hardware->output()->pull(kRequest);
            EXPECT_EQ(std::count(frames.begin(), frames.end(), 0.0F), 0) << speed;
            if (speed == 1.0) {
                EXPECT_EQ(frames[0], static_cast<float>(cue + 1));
            }
        }
        transport().stopSound();
        EXPECT_TRUE(waitForStop());
    }
}

TEST_F(PlayingTest, AppliesTheVolumeBehindThePeaks)
{
    document = kit::documentOf({FloatBuffer(9000, 0.5F), FloatBuffer(9000, -0.25F)});
    UserDefaults::standard().setValue(AudioPreference::playbackVolume(), -6.0);
    transport().playSelection(everything(), 0);
    VLRTAudioPlayer& player = *transport().audioPlayback();
    EXPECT_EQ(play(512), std::vector<float>(512, 0.5F * 0.50118723F));
    const std::optional<PeakHolder::Peaks> peaks = player.takePeaks();
    ASSERT_TRUE(peaks);
    EXPECT_EQ(peaks->leftPeak, 0.5F);
    EXPECT_EQ(peaks->rightPeak, 0.25F);
    EXPECT_FALSE(player.takePeaks()) << "the device asked for nothing since then";
    UserDefaults::standard().setValue(AudioPreference::playbackVolume(), 0.0);
    NotificationCenter::standard().post(AudioNotification::playbackVolumeDidChange());
    EXPECT_EQ(play(512), std::vector<float>(512, 0.5F));
}

TEST_F(PlayingTest, SendsLeftAndRightToTheChannelsOfThePreferences)
{
    setDevice(SimulatedHardware::outputDevice(2, QStringLiteral("out"), 44100.0, 6));
    document = kit::documentOf({FloatBuffer(90000, 1.0F), FloatBuffer(90000, 2.0F)});
    transport().playSelection(everything(), 0);
    struct Case {
        int left;
        int right;
        std::vector<float> frame;
    };
    const Case cases[] = {{0, 1, {1, 2, 0, 0, 0, 0}},
                          {5, 2, {0, 0, 2, 0, 0, 1}},
                          {9, 17, {1, 2, 0, 0, 0, 0}},
                          {3, 3, {0, 0, 0, 1, 0, 0}},
                          {-1, 4, {1, 0, 0, 0, 2, 0}}};
    for (const Case& c : cases) {
        UserDefaults::standard().setValue(AudioPreference::outputLeftChannel(), c.left);
        UserDefaults::standard().setValue(AudioPreference::outputRightChannel(), c.right);
        NotificationCenter::standard().post(AudioNotification::outputConfigurationDidChange());
        EXPECT_EQ(hardware->output()->pull(1), c.frame);
    }
}

TEST_F(PlayingTest, StopsWhenTheDeviceGoesAway)
{
    makeRamps(100000);
    transport().playSelection(everything(), 0);
    play(1000);
    hardware->unplug(QStringLiteral("out"));
    EXPECT_TRUE(waitForStop());
    EXPECT_EQ(transport().stopReason(), StopReason::deviceLost);
    const MaybeError error = transport().playSelection(everything(), 0);
    EXPECT_TRUE(error) << "no device is left";
    EXPECT_FALSE(transport().isPlaying());
}

TEST_F(PlayingTest, UsesTheDeviceOfThePreferencesWhileItIsThere)
{
    HardwareState state = hardware->state();
    state.devices.push_back(SimulatedHardware::outputDevice(7, QStringLiteral("usb"), 44100.0));
    hardware->setState(state);
    UserDefaults::standard().setValue(AudioPreference::outputDevice(), QStringLiteral("usb"));
    makeRamps(100000);
    transport().playSelection(everything(), 0);
    EXPECT_EQ(hardware->output()->deviceID(), 7U);
    hardware->unplug(QStringLiteral("usb"));
    EXPECT_TRUE(waitForStop());
    transport().playSelection(everything(), 0);
    EXPECT_EQ(hardware->output()->deviceID(), 2U);
}

TEST_F(PlayingTest, DropsAPlayerThatDoesNotStart)
{
    makeRamps(1000);
    for (const bool atOpening : {true, false}) {
        const Error error = {Error::Code::failed, QStringLiteral("Device busy.")};
        hardware->setOpenError(atOpening ? MaybeError(error) : std::nullopt);
        hardware->setStartError(error);
        const MaybeError told = transport().playSelection(everything(), 0);
        ASSERT_TRUE(told);
        EXPECT_EQ(told->message, error.message);
        EXPECT_EQ(transport().audioPlayback(), nullptr);
    }
}

TEST_F(PlayingTest, HasNothingToPlayInAnEmptySelectionOrDocument)
{
    makeRamps(1000);
    EXPECT_EQ(transport().playSelection(range(500, 500), 0), std::nullopt);
    EXPECT_EQ(transport().audioPlayback(), nullptr);
    document = kit::documentOf({{}, {}});
    EXPECT_EQ(transport().playSelection(everything(), 0), std::nullopt);
    EXPECT_EQ(transport().audioPlayback(), nullptr);
}

TEST_F(PlayingTest, MayBeClosedWhileItPlays)
{
    makeRamps(500000);
    transport().playSelection(everything(), 0);
    document->transport().setPlaybackSpeed(1.5);
    play(2000);
    document.reset();
    EXPECT_EQ(hardware->output(), nullptr);
}
