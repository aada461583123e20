#include "controllers/EditCommands.h"
#include "controllers/MarkerCommands.h"
#include "controllers/SelectionModel.h"
#include "controllers/TransportController.h"
#include "controllers/TransportKit.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velloria::kit
{

TEST_F(TransportTest, PlaysTheSelectionOrTheDocumentFromAFittingTime)
{
    struct Case {
        const char* what;
        double start, end, time;
        bool loops;
        double firstHeard, loopStart, loopEnd;
    };
    for (const Case& c : {
             Case{"inside", 10, 11, 10.5, false, 10.5, 10, 11},
             Case{"just behind the end replays", 10, 11, 11.01, false, 10, 10, 11},
             Case{"further behind plays the document", 10, 11, 11.03, false, 11.03, 0, 20},
             Case{"before the selection plays the document", 10, 11, 9, false, 9, 0, 20},
             Case{"before a loop runs into it", 10, 11, 9, true, 9, 10, 11},
             Case{"nothing selected", 3, 3, 3, false, 3, 0, 20},
             Case{"at the document's end begins anew", 3, 3, 19.99, false, 0, 0, 20},
             Case{"not quite at the end", 3, 3, 19.97, false, 19.97, 0, 20},
         }) {
        SCOPED_TRACE(c.what);
        select(c.start, c.end);
        if (controller->transport().isLooping() != c.loops)
            controller->transport().loop();
        controller->transport().playFromTime(c.time);
        ASSERT_TRUE(controller->transport().isPlaying());
        EXPECT_EQ(transport().audioPlaybackSource()->loopStart(), frameAtTime(c.loopStart, kRate));
        EXPECT_EQ(transport().audioPlaybackSource()->loopEnd(), frameAtTime(c.loopEnd, kRate));
        EXPECT_EQ(pull(512).front(), static_cast<float>(frameAtTime(c.firstHeard, kRate) + 1));
        controller->transport().stopAudio();
        ASSERT_TRUE(waitForStop());
    }
}

TEST_F(TransportTest, ReturnsOrStaysWhenItStops)
{
    const auto hear = [this] {
        pull(22050);
        return waitUntil([this] { return controller->transport().cueTime() > 4.3; });
    };
    select(4, 4);
    controller->transport().setCueTime(4);
    controller->transport().playReturning();
    ASSERT_TRUE(hear());
    controller->transport().playReturning();
    ASSERT_TRUE(waitForStop());
    EXPECT_EQ(controller->transport().cueTime(), 4);
    EXPECT_EQ(host.levels, std::pair(-100.0, -100.0));

    controller->transport().playStaying();
    ASSERT_TRUE(hear());
    controller->transport().playStaying();
    ASSERT_TRUE(waitForStop());
    EXPECT_GT(controller->transport().cueTime(), 4.3);
    EXPECT_EQ(controller->selection().value().startTime, controller->transport().cueTime());

    // A selection stays, and the cue in it.
    select(4, 5);
    controller->transport().setCueTime(4);
    controller->transport().playStaying();
    ASSERT_TRUE(hear());
    controller->transport().cancelOperation();
    ASSERT_TRUE(waitForStop());
    EXPECT_GT(controller->transport().cueTime(), 4.3);
    EXPECT_EQ(controller->selection().value().startTime, 4);
}

TEST_F(TransportTest, ASoundPlayedToItsEndLeavesTheCueThere)
{
    select(19, 19);
    controller->transport().setCueTime(19);
    controller->transport().playStaying();
    ASSERT_TRUE(playToTheEnd());
    EXPECT_EQ(controller->transport().cueTime(), 20);
    // And so it begins anew the next time.
    controller->transport().playStaying();
    EXPECT_EQ(pull(512).front(), 1.0F);
}

TEST_F(TransportTest, MovesTheCueWhileItPlays)
{
    select(4, 5);
    controller->transport().setCueTime(4);
    controller->transport().play();
    pull(512);
    controller->transport().setCueTime(4.5);
    EXPECT_EQ(pull(512).front(), static_cast<float>(frameAtTime(4.5, kRate) + 1));
    // Behind what was selected it goes on to the document's end.
    controller->transport().setCueTime(7);
    const std::vector<float> heard = pull(kRate);
    EXPECT_EQ(heard.front(), static_cast<float>(frameAtTime(7, kRate) + 1));
    EXPECT_GT(heard.back(), 7.9F * 44100);
    controller->transport().returnToZero();
    EXPECT_EQ(pull(512).front(), 1.0F);
    EXPECT_EQ(host.view.scrollPosition(), -10);
}

TEST_F(TransportTest, SkipsByASecond)
{
    controller->transport().fastForward();
    EXPECT_EQ(host.view.scrollPosition(), 100) << "without a player only the view moves";
    controller->transport().rewind();
    EXPECT_EQ(host.view.scrollPosition(), 0);
    EXPECT_EQ(controller->transport().cueTime(), 0);

    controller->transport().playFromTime(9.5);
    controller->transport().fastForward();
    EXPECT_EQ(pull(512).front(), static_cast<float>(frameAtTime(10.5, kRate) + 1));
    EXPECT_EQ(host.view.scrollPosition(), 100) << "10.5 s was out of sight, 9.5 s in it";
    controller->transport().playFromTime(0.5);
    controller->transport().rewind();
    EXPECT_EQ(pull(512).front(), 1.0F);
    controller->transport().playFromTime(19.5);
    pull(512);
    controller->transport().fastForward();
    EXPECT_GT(pull(512).front(), 19.5F * 44100) << "there is no second to skip";
}

TEST_F(TransportTest, LoopsTheSelectionWithFramesCutOff)
{
    // 1.00001 s is frame 44100.441; 1.00002 s is 44100.882 and would be rounded up.
    select(1.00001, 1.00002 + 1);
    controller->transport().playFromTime(1.5);
    controller->transport().loop();
    EXPECT_TRUE(controller->transport().isLooping());
    EXPECT_EQ(transport().audioPlaybackSource()->loopStart(), 44100);
    EXPECT_EQ(transport().audioPlaybackSource()->loopEnd(), 88200);
    controller->transport().loop();
    EXPECT_FALSE(controller->transport().isLooping());
    EXPECT_EQ(transport().audioPlaybackSource()->loopStart(), 0);
    EXPECT_EQ(transport().audioPlaybackSource()->loopEnd(), kNumFrames);
}

TEST_F(TransportTest, LoopsASingleFrame)
{
    select(1000 / kRate, 1001 / kRate);
    controller->transport().loop();
    controller->transport().playFromTime(1000 / kRate);
    const std::vector<float> heard = pull(8192);
    EXPECT_EQ(std::count(heard.begin(), heard.end(), 1001.0F), std::ssize(heard));
}

TEST_F(TransportTest, StepsTheSpeed)
{
    for (const auto& [percent, expected] : {std::pair{190, 1.9}, {0, 1.9}, {60, 0.6}}) {
        controller->transport().playbackSpeed(percent);
        EXPECT_EQ(controller->transport().playbackSpeed(), expected);
    }
    controller->transport().slowDownPlayback();
    EXPECT_EQ(controller->transport().playbackSpeed(), 0.5);
    controller->transport().playbackSpeed(190);
    controller->transport().speedUpPlayback();
    EXPECT_EQ(controller->transport().playbackSpeed(), 2.0);
}

TEST_F(TransportTest, TheOutputLevelStopsAtZeroOnce)
{
    double stored = -3;
    UserDefaults::standard().setValue(AudioPreference::playbackVolume(), stored);
    for (const auto& [asked, expected] : {std::pair{2.0, 0.0}, {2.0, 2.0}, {-1.0, 0.0}, {-1.0, -1.0}}) {
        controller->transport().takeOutputGainValueFrom(asked);
        EXPECT_EQ(TransportController::outputGain(), expected);
    }
}

TEST_F(TransportTest, SetsMarkersAtWhatIsHeardWithoutStopping)
{
    select(2, 3);
    controller->transport().playFromTime(2);
    pull(22050);
    EXPECT_FALSE(controller->markers().insertMarker());
    const std::vector<int64_t> markers = positionsOf(*document->audioMarkers());
    ASSERT_EQ(markers.size(), 1U);
    EXPECT_EQ(markers[0], 2 * 44100 + 22050 - kLatency);
    EXPECT_EQ(document->audioMarkers()->front()->name(), QStringLiteral("New Marker 1"));
    EXPECT_TRUE(controller->transport().isPlaying());
}

TEST_F(TransportTest, GoesOnWithWhatAnEditLeaves)
{
    controller->transport().playFromTime(1);
    const std::vector<float> before = pull(4096);
    select(5, 6);
    controller->editing().deleteSelection(QStringLiteral("Delete"));
    std::vector<float> after = pull(5 * 44100);
    EXPECT_EQ(after.front(), before.back() + 1);
    const auto seam = std::find(after.begin(), after.end(), 5.0F * 44100);
    ASSERT_NE(seam, after.end());
    EXPECT_EQ(*(seam + 1), 6.0F * 44100 + 1);
    controller->editing().undo();
    EXPECT_EQ(pull(512).front(), after.back() + 1 - 44100) << "the frames between are back";
}

TEST_F(TransportTest, ShowsASteadyLevelHoweverSeldomTheDeviceAsks)
{
    document = documentOf({FloatBuffer(kNumFrames, 0.5F)});
    controller = std::make_unique<SoundController>(document, host);
    controller->transport().playFromTime(0);
    pull(kLatency);
    for (int tick = 0; tick < 20; ++tick) {
        host.levels = {1.0, 1.0};
        controller->transport().updateOutputLevelMeters();
        if (tick % 4 == 0) {
            EXPECT_NEAR(host.levels.first, -6.02, 0.01);
            EXPECT_NEAR(host.levels.second, -6.02, 0.01);
        } else {
            EXPECT_EQ(host.levels, std::pair(1.0, 1.0)) << "nothing was told";
        }
        if (tick % 4 == 3)
            pull(kLatency);
    }
}

TEST_F(TransportTest, MeasuresTheLoudnessOfWhatPlaysFromItsFirstFrame)
{
    // EBU Tech 3341, signal 1: 20 s of 1 kHz at -23 dBFS in both channels are -23 LUFS by all three measures;
    // in a sound of one track they are what Statistics says of it.
    FloatBuffer tone(static_cast<size_t>(kNumFrames));
    for (size_t i = 0; i < tone.size(); ++i)
        tone[i] = static_cast<float>(std::pow(10.0, -23.0 / 20.0) * std::sin(2.0 * std::numbers::pi * 1000.0 *
                                                                             static_cast<double>(i) / kRate));
    for (const size_t numTracks : {2U, 1U}) {
        SCOPED_TRACE(numTracks);
        document = documentOf(std::vector<FloatBuffer>(numTracks, tone));
        controller = std::make_unique<SoundController>(document, host);
        TransportController& transport = controller->transport();
        const auto hear = [&](double seconds) {
            for (; seconds > 0; seconds -= 0.1) {
                pull(4410);
                transport.updateOutputLevelMeters();
            }
        };
        transport.measureLoudness(true);
        transport.playFromTime(0);
        hear(0.3);
        EXPECT_EQ(host.loudness.momentary, LoudnessReading::kNothing) << "not yet 400 ms";
        hear(0.3);
        const double expected = numTracks == 2 ? -23.0 : -23.0 - 10.0 * std::log10(2.0);
        EXPECT_NEAR(host.loudness.momentary, expected, 0.1);
        EXPECT_EQ(host.loudness.shortTerm, LoudnessReading::kNothing);
        hear(4);
        EXPECT_NEAR(host.loudness.shortTerm, expected, 0.1);
        EXPECT_NEAR(host.loudness.integrated, expected, 0.1);
        transport.resetLoudness();
        EXPECT_EQ(host.loudness.integrated, LoudnessReading::kNothing);
        hear(1);
        EXPECT_NEAR(host.loudness.integrated, expected, 0.1);
        transport.stopAudio();
        ASSERT_TRUE(waitForStop());
        EXPECT_EQ(host.loudness.momentary, LoudnessReading::kNothing);
        EXPECT_NEAR(host.loudness.integrated, expected, 0.1) << "what was measured can still be read";
        transport.playFromTime(0);
        EXPECT_EQ(transport.loudness().integrated, LoudnessReading::kNothing) << "each start counts anew";
        transport.measureLoudness(false);
        hear(1);
        EXPECT_EQ(host.loudness.momentary, LoudnessReading::kNothing) << "nobody wants it";
    }
}

TEST_F(TransportTest, TheViewStaysWhenTheCueIsMovedOrTheSoundEdited)
{
    UserDefaults::standard().setValue(CueFollower::preferenceKey(), static_cast<int>(CueFollower::byPage));
    controller->transport().playFromTime(1);
    const auto tick = [this] {
        const auto next = std::chrono::steady_clock::now() + std::chrono::milliseconds(40);
        waitUntil([next] { return std::chrono::steady_clock::now() >= next; });
        return controller->transport().cueTime();
    };
    pull(22050);
    // At the last tick the cue stands where this is heard; 10 s are in sight.
    ASSERT_TRUE(waitUntil([this] { return controller->transport().cueTime() > 1.39; }));
    const double scroll = host.view.scrollPosition();
    controller->transport().loop();
    EXPECT_NEAR(tick(), 1.4, 1e-3);
    select(18, 19);
    controller->editing().deleteSelection(QStringLiteral("Delete"));
    EXPECT_NEAR(tick(), 1.4, 1e-3);
    controller->transport().setCueTime(8);
    EXPECT_NEAR(tick(), 8, 1e-3) << "not where the device still is";
    pull(2000);
    EXPECT_NEAR(tick(), 8, 1e-3);
    pull(kLatency);
    EXPECT_NEAR(tick(), 8 + 2000 / kRate, 1e-3);
    EXPECT_EQ(host.view.scrollPosition(), scroll);
}

TEST_F(TransportTest, AChangedRateLeavesTheCueWhereItWas)
{
    select(1, 1);
    controller->transport().setCueTime(1);
    controller->transport().playStaying();
    pull(22050);
    ASSERT_TRUE(waitUntil([this] { return controller->transport().cueTime() > 1.39; }));
    document->undoableSetSampleRate(48000.0);
    document->reload();
    ASSERT_TRUE(waitForStop());
    EXPECT_NEAR(controller->transport().cueTime(), 1.4, 0.01);
}

TEST_F(TransportTest, SaysWhyItCannotPlay)
{
    hardware->setOpenError(Error{Error::Code::failed, QStringLiteral("No sound server can be reached.")});
    controller->transport().play();
    EXPECT_FALSE(controller->transport().isPlaying());
    EXPECT_EQ(host.failure, QStringLiteral("No sound server can be reached."));
}

TEST_F(TransportTest, AnEmptyDocumentPlaysNothing)
{
    auto empty = std::make_shared<SoundDocument>();
    SoundController other(empty, host);
    other.transport().playReturning();
    other.transport().playStaying();
    other.transport().rewind();
    other.transport().loop();
    EXPECT_FALSE(other.transport().isPlaying());
    EXPECT_TRUE(host.failure.isEmpty());
}

TEST_F(TransportTest, PausesWhereItsDeviceWentAway)
{
    select(4, 4);
    controller->transport().setCueTime(4);
    controller->transport().playReturning();
    pull(22050);
    ASSERT_TRUE(waitUntil([this] { return controller->transport().cueTime() > 4.3; }));
    hardware->unplug(QStringLiteral("out"));
    ASSERT_TRUE(waitForStop());
    EXPECT_EQ(host.interruption, StopReason::deviceLost);
    EXPECT_GT(controller->transport().cueTime(), 4.3) << "nothing of what was heard is lost";
}

class DefaultDeviceTest : public TransportTest
{
protected:
    DefaultDeviceTest()
    {
        state = hardware->state();
        state.devices.push_back(SimulatedHardware::outputDevice(7, QStringLiteral("phones"), 44100.0));
        hardware->setState(state);
    }
    void makeDefault(uint32_t device)
    {
        state.defaultOutput = device;
        hardware->setState(state);
    }
    HardwareState state;
};

TEST_F(DefaultDeviceTest, IsFollowedWhileSomethingPlays)
{
    controller->transport().playFromTime(1);
    const float last = pull(22050).back();
    makeDefault(7);
    ASSERT_TRUE(controller->transport().isPlaying());
    EXPECT_EQ(hardware->output()->deviceID(), 7U);
    EXPECT_EQ(pull(512).front(), last - kLatency + 1) << "with what the other had not played yet";
}

TEST_F(DefaultDeviceTest, IsNotFollowedByWhoChoseAnother)
{
    UserDefaults::standard().setValue(AudioPreference::outputDevice(), QStringLiteral("out"));
    controller->transport().playFromTime(1);
    const float last = pull(512).back();
    makeDefault(7);
    EXPECT_EQ(hardware->output()->deviceID(), 2U);
    EXPECT_EQ(pull(512).front(), last + 1);
    // A choice in the preferences counts at once.
    UserDefaults::standard().setValue(AudioPreference::outputDevice(), QStringLiteral("phones"));
    NotificationCenter::standard().post(AudioNotification::outputDeviceDidChange());
    EXPECT_EQ(hardware->output()->deviceID(), 7U);
}

TEST_F(DefaultDeviceTest, DoesNotTakeOverFromOneThatWasUnplugged)
{
    controller->transport().playFromTime(1);
    pull(512);
    std::erase_if(state.devices, [](const HardwareDevice& device) { return device.id == 2; });
    makeDefault(7);
    ASSERT_TRUE(waitForStop());
    EXPECT_EQ(host.interruption, StopReason::deviceLost);
}

} // namespace velloria::kit
