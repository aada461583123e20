#include "controllers/InputLevelsController.h"

#include "controllers/RecordingKit.h"

using namespace velloria;
using InputLevelsControllerTest = kit::RecordingControllersTest;

TEST_F(InputLevelsControllerTest, HoldsPeaksAndRemembersClips)
{
    int numTold = 0;
    levels().setObserver([&] { ++numTold; });
    levels().setMetersActive(true);
    ASSERT_NE(hardware->input(), nullptr);
    hear(4410, 0.5F);
    ASSERT_TRUE(waitUntil([&] { return levels().left().level > -7.0; }));
    hear(4410, 0.1F);
    ASSERT_TRUE(waitUntil([&] { return levels().left().level < -19.0; }));
    EXPECT_NEAR(levels().left().peakHold, -6.02, 0.01);
    EXPECT_NEAR(levels().right().clipPeak, -6.02, 0.01);
    levels().clearLeftPeakHoldTimer();
    EXPECT_NEAR(levels().left().peakHold, -20.0, 0.01);
    EXPECT_NEAR(levels().right().peakHold, -6.02, 0.01);
    levels().resetLeftClip();
    EXPECT_EQ(levels().left().clipPeak, -100.0);
    EXPECT_NEAR(levels().right().clipPeak, -6.02, 0.01);
    levels().resetAllClippingIndicators();
    EXPECT_EQ(levels().right().clipPeak, -100.0);
    EXPECT_GT(numTold, 1);
    levels().setMetersActive(false);
    EXPECT_EQ(hardware->input(), nullptr);
    EXPECT_EQ(levels().left().peakHold, -100.0);
}

TEST(InputLevelsTest, WritesDecibelsShortly)
{
    const std::pair<double, const char*> cases[] = {{-10.0, "-10"},  {-0.005, "Clip"}, {0.5, "Clip"},
                                                    {-120.0, ""},    {-100.0, ""},     {-99.6, "-100"},
                                                    {-0.02, "-0.0"}, {-INFINITY, ""},  {-45.4, "-45"}};
    for (const auto& [decibels, text] : cases)
        EXPECT_EQ(InputLevelsController::stringFromDecibelValue(decibels), QString::fromLatin1(text));
    EXPECT_EQ(InputLevelsController::stringFromDecibelValue(-9.95).size(), 4) << "one decimal";
}

TEST_F(InputLevelsControllerTest, FollowsTheChosenInputAndItsLoss)
{
    HardwareState state = hardware->state();
    state.devices.push_back(SimulatedHardware::inputDevice(4, QStringLiteral("other"), 48000.0, 6));
    hardware->setState(state);
    levels().setMetersActive(true);
    EXPECT_EQ(hardware->input()->deviceID(), 3U);
    levels().selectInputDevice(QStringLiteral("other"));
    EXPECT_EQ(hardware->input()->deviceID(), 4U);
    hardware->unplug(QStringLiteral("other"));
    ASSERT_TRUE(waitUntil([&] { return hardware->input() && hardware->input()->deviceID() == 3; }));
    EXPECT_TRUE(levels().audioMonitor()->isRunning());
    hardware->unplug(QStringLiteral("in"));
    ASSERT_TRUE(waitUntil([&] { return levels().monitorError().has_value(); }));
    hardware->setState(state);
    EXPECT_TRUE(waitUntil([&] { return levels().audioMonitor()->isRunning(); })) << "it came back";
}

TEST_F(InputLevelsControllerTest, TheMetersRunWhileAnybodyWantsThem)
{
    // The window with the levels opens (W) and closes (w), the preference of the person who looks at it; a
    // recording begins (R) and ends (r), in every order.
    for (const std::string_view order : {"RrWw", "WwRr", "RWwr", "WRrw", "RWrw", "WRwr", "WRwWrw"}) {
        SCOPED_TRACE(order);
        int numWanted = 0;
        for (const char event : order) {
            numWanted += event == 'R' || event == 'W' ? 1 : -1;
            if (event == 'W' || event == 'w')
                levels().setMetersActive(event == 'W');
            else if (event == 'R')
                controller->recording().record();
            else
                controller->transport().stopAudio();
            ASSERT_TRUE(event != 'r' || waitForStop());
            EXPECT_EQ(levels().metersActive(), numWanted > 0) << event;
            EXPECT_EQ(levels().audioMonitor() != nullptr, numWanted > 0) << event;
        }
        EXPECT_TRUE(hardware->allInputs().empty());
    }
}

TEST_F(InputLevelsControllerTest, TakesUpChannelsThatAreChosenWhileItRecords)
{
    HardwareState state = hardware->state();
    state.devices[1] = SimulatedHardware::inputDevice(3, QStringLiteral("in"), 44100.0, 4);
    hardware->setState(state);
    levels().setMetersActive(true);
    controller->recording().record();
    const auto hearFour = [this] {
        std::vector<float> frames;
        for (int i = 0; i < 1000; ++i)
            frames.insert(frames.end(), {0.125F, 0.25F, 0.5F, 0.75F});
        for (SimulatedInput* const input : hardware->allInputs())
            input->push(frames);
    };
    hearFour();
    levels().selectInputChannels(3, 2);
    hearFour();
    ASSERT_TRUE(waitForFrames(2000));
    controller->transport().stopAudio();
    ASSERT_TRUE(waitForStop());
    const auto sampleAt = [this](int64_t frame, int32_t track) {
        return document->sampleDataAtOffset(frame, 1, track).front();
    };
    EXPECT_EQ(sampleAt(999, 0), 0.125F);
    EXPECT_EQ(sampleAt(999, 1), 0.25F);
    EXPECT_EQ(sampleAt(1000, 0), 0.75F);
    EXPECT_EQ(sampleAt(1000, 1), 0.5F);
}

TEST_F(InputLevelsControllerTest, HearsTheInputOnTheDefaultOutputUntilThatGoesAway)
{
    HardwareState state = hardware->state();
    state.devices.push_back(SimulatedHardware::outputDevice(7, QStringLiteral("phones"), 44100.0));
    hardware->setState(state);
    levels().setPlaythrough(true);
    EXPECT_EQ(hardware->output()->deviceID(), 2U);
    state.defaultOutput = 7;
    hardware->setState(state);
    ASSERT_TRUE(waitUntil([&] { return hardware->output() && hardware->output()->deviceID() == 7; }));
    EXPECT_TRUE(levels().isPlaythroughOn());
    EXPECT_FALSE(levels().hasLostOutput());
    // The phones are pulled: the loudspeakers are the default again.
    state.devices.pop_back();
    state.defaultOutput = 2;
    hardware->setState(state);
    ASSERT_TRUE(waitUntil([&] { return !levels().isPlaythroughOn(); }));
    EXPECT_EQ(hardware->output(), nullptr) << "no microphone bursts out of the loudspeakers";
    EXPECT_EQ(hardware->input(), nullptr);
    EXPECT_TRUE(levels().hasLostOutput());
    levels().setPlaythrough(true);
    EXPECT_EQ(hardware->output()->deviceID(), 2U) << "who asks for it hears it there";
    EXPECT_FALSE(levels().hasLostOutput());
}

TEST_F(InputLevelsControllerTest, BringsBackTheMetersAtAStartButNeverTheInputsSound)
{
    UserDefaults::standard().setValue(AudioPreference::playthrough(), true);
    UserDefaults::standard().setValue(AudioPreference::inputMetersActive(), 1);
    EXPECT_NE(levels().audioMonitor(), nullptr);
    EXPECT_EQ(levels().audioPlaythrough(), nullptr);
    EXPECT_FALSE(levels().isPlaythroughOn());
    levels().updatePlaythroughState();
    EXPECT_EQ(hardware->output(), nullptr);
}

TEST_F(InputLevelsControllerTest, SetsTheGainOfTheInput)
{
    EXPECT_TRUE(levels().isInputGainSettable());
    levels().setInputGain(0.25F);
    EXPECT_EQ(hardware->state().devices[1].input.gains.at(0).value, 0.25F);
    EXPECT_EQ(levels().inputGain(), 0.25F);
    levels().setInputGain(7.0F);
    EXPECT_EQ(levels().inputGain(), 1.0F);
}

TEST_F(InputLevelsControllerTest, PlaysTheInputThroughAtOnceAndNeverFallsBehind)
{
    levels().setPlaythrough(true);
    ASSERT_NE(levels().audioPlaythrough(), nullptr);
    UserDefaults::standard().setValue(AudioPreference::playbackVolume(), -20.0 * std::log10(2.0));
    NotificationCenter::standard().post(AudioNotification::playbackVolumeDidChange());
    hear(512, 0.5F);
    const std::vector<float> frames = hardware->output()->pull(600);
    EXPECT_NEAR(frames[2 * 511], 0.25F, 1e-6);
    EXPECT_EQ(frames[2 * 512], 0.0F);
    for (int i = 0; i < 100; ++i)
        hear(512, 0.5F);
    const int32_t numHeld = levels().audioPlaythrough()->core()->feed().ring.framesAvailableToConsume();
    EXPECT_LE(numHeld, 44100 * 8 / 100);
    EXPECT_GT(numHeld, 2000);
    levels().setPlaythrough(false);
    EXPECT_EQ(hardware->output(), nullptr);
    EXPECT_EQ(hardware->input(), nullptr);
    EXPECT_TRUE(
        log.printed().contains(QStringLiteral("VLRTAudioPlaythroughCore: fastest playthrough, length=3528")));
}

TEST_F(InputLevelsControllerTest, GoesBackToTheDefaultsWhereThePlaythroughCannotStart)
{
    UserDefaults& defaults = UserDefaults::standard();
    defaults.setValue(AudioPreference::inputDevice(), QStringLiteral("in"));
    defaults.setValue(AudioPreference::outputDevice(), QStringLiteral("out"));
    hardware->setStartError(Error{Error::Code::failed, QStringLiteral("It is in use.")});
    levels().setPlaythrough(true);
    EXPECT_FALSE(levels().isPlaythroughOn());
    EXPECT_EQ(levels().audioPlaythrough(), nullptr);
    EXPECT_TRUE(defaults.stringValue(AudioPreference::inputDevice()).isEmpty());
    EXPECT_TRUE(defaults.stringValue(AudioPreference::outputDevice()).isEmpty());
}
