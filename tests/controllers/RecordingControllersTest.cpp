#include "controllers/AutoRecordController.h"
#include "controllers/EditCommands.h"
#include "controllers/InputLevelsController.h"
#include "controllers/RecordingController.h"
#include "controllers/SelectionModel.h"
#include "controllers/TimerRecordingEnabledController.h"
#include "controllers/TimerRecordingSetupController.h"
#include "controllers/TransportController.h"
#include "controllers/TransportKit.h"
#include "document/DocumentRecording.h"

using namespace velloria;

namespace
{

class RecordingHost : public kit::TransportHost
{
public:
    void recordingFailed(const QString& message) override { recordingFailure = message; }
    void documentDidGrow() override { ++numGrowths; }

    QString recordingFailure;
    int numGrowths = 0;
};

/// A document of two seconds on simulated hardware, whose input hears what the test says.
class RecordingControllersTest : public testing::Test
{
protected:
    static constexpr double kRate = 44100.0;

    RecordingControllersTest()
    {
        AudioHardware::setCurrent(hardware);
        VLRTAudioPlayer::registerDefaults();
        CueFollower::registerDefaults();
        InputLevelsController::registerDefaults();
        document = kit::documentOf({FloatBuffer(88200), FloatBuffer(88200)});
        controller = std::make_unique<SoundController>(document, host);
        host.view.setSampleRate(kRate);
        host.view.setTotalTime(document->totalTime());
        host.view.setViewWidth(1000);
        host.view.setZoom(441);
    }
    ~RecordingControllersTest() override
    {
        InputLevelsController::releaseShared();
        controller.reset();
        document.reset();
        AudioHardware::setCurrent(nullptr);
        UserDefaults& defaults = UserDefaults::standard();
        for (const char* key :
             {"audio.input.device", "audio.output.device", "audio.input.leftChannel",
              "audio.input.rightChannel", "audio.inputLevels.metersActive", "audioPlaythrough",
              "automaticRecording.startLevel", "automaticRecording.stopLevel",
              "automaticRecording.stopDuration", "timerRecording.defaultDuration", "playbackVolume"})
            defaults.removeValue(QString::fromLatin1(key));
    }

    /// The input hears a constant.
    void hear(size_t numFrames, float value)
    {
        hardware->input()->push(std::vector<float>(2 * numFrames, value));
    }
    bool waitForFrames(int64_t numFrames)
    {
        return waitUntil([&] { return document->recording().numRecordedFrames() >= numFrames; });
    }
    static bool waitUntil(const std::function<bool()>& isSo)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (!isSo() && std::chrono::steady_clock::now() < deadline)
            QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 10);
        return isSo();
    }
    bool waitForStop()
    {
        return waitUntil([this] { return !controller->recording().isRecording(); });
    }
    static InputLevelsController& levels() { return InputLevelsController::inputLevelsController(); }

    LogCapture log;
    std::shared_ptr<SimulatedHardware> hardware = std::make_shared<SimulatedHardware>();
    RecordingHost host;
    std::shared_ptr<SoundDocument> document;
    std::unique_ptr<SoundController> controller;
};

FloatBuffer block(size_t numFrames, double decibels)
{
    return FloatBuffer(numFrames, static_cast<float>(std::pow(10.0, decibels / 20.0)));
}

} // namespace

TEST_F(RecordingControllersTest, RecordsIntoTheSelectionAndLeavesTheCueBehindTheTake)
{
    controller->selection().setSelection({0.5, 1.0, 1, 1});
    controller->recording().record();
    ASSERT_TRUE(controller->recording().isRecording());
    EXPECT_TRUE(levels().metersActive());
    controller->transport().play();
    EXPECT_FALSE(controller->transport().isPlaying());
    hear(44100, 0.5F);
    ASSERT_TRUE(waitUntil([&] { return document->numberOfFrames() == 110250; }));
    ASSERT_TRUE(waitUntil([&] { return controller->transport().cueTime() == 1.5; }))
        << "the cue rides the take's end";
    EXPECT_GT(host.numGrowths, 0);
    EXPECT_FALSE(host.drawn.empty());
    EXPECT_TRUE(controller->selection().isEmpty());
    controller->recording().recordOrStop();
    ASSERT_TRUE(waitForStop());
    EXPECT_FALSE(levels().metersActive()) << "as before";
    EXPECT_EQ(controller->selection().value(), (SoundSelection{1.5, 1.5, 0, 2}));
    EXPECT_EQ(document->sampleDataAtOffset(22049, 3, 1), (FloatBuffer{0.0F, 0.5F, 0.5F}));
    EXPECT_TRUE(host.recordingFailure.isEmpty());
    controller->editing().undo();
    EXPECT_EQ(document->numberOfFrames(), 88200);
    EXPECT_EQ(controller->selection().value(), (SoundSelection{0.5, 1.0, 1, 1}));
}

TEST_F(RecordingControllersTest, SaysWhyItDoesNotRecordAndWhyItEnded)
{
    controller->recording().recordOrStop();
    hear(1000, 0.5F);
    hear(70'000, 0.5F); // more than waits for the disk
    hardware->unplug(QStringLiteral("in"));
    ASSERT_TRUE(waitForStop());
    EXPECT_EQ(host.recordingFailure,
              QStringLiteral("Recording stopped. The audio device went away. What was recorded until then is "
                             "kept. The machine was too busy to record everything: some sound is missing in "
                             "one place."));
    EXPECT_EQ(document->numberOfFrames(), 89200);
    host.recordingFailure.clear();
    controller->recording().recordOrStop();
    EXPECT_FALSE(controller->recording().isRecording());
    EXPECT_EQ(host.recordingFailure, QStringLiteral("The audio device is not there."));
}

TEST(AutoRecordGateTest, CountsDownAtHalfSpeedAndKeepsTheBlockBefore)
{
    constexpr double kRate = 44100.0;
    constexpr size_t kBlock = 4410;
    AutoRecordGate gate(kRate);
    std::vector<size_t> kept;
    const auto take = [&](size_t numFrames, double decibels) {
        kept.clear();
        gate.take(block(numFrames, decibels), block(numFrames, decibels), {},
                  [&](const FloatBuffer& left, const FloatBuffer&) {
                      kept.push_back(left.size());
                      return true;
                  });
        return kept;
    };
    EXPECT_TRUE(take(kBlock, -30).empty()) << "between the levels nothing begins";
    EXPECT_TRUE(take(kBlock + 1, -80).empty());
    EXPECT_EQ(take(kBlock, -20), (std::vector<size_t>{kBlock + 1, kBlock})) << "a lead-in of one block";
    EXPECT_DOUBLE_EQ(gate.timeRemainingBeforeStop(), 5.0);
    for (int i = 0; i < 30; ++i)
        EXPECT_EQ(take(kBlock, -60).size(), 1U);
    EXPECT_NEAR(gate.timeRemainingBeforeStop(), 3.5, 1e-9);
    take(kBlock, -30);
    EXPECT_DOUBLE_EQ(gate.timeRemainingBeforeStop(), 5.0);
    int numQuiet = 0;
    while (!take(kBlock, -60).empty())
        ++numQuiet;
    EXPECT_NEAR(numQuiet, 100, 1) << "ten seconds of silence for a duration of five";
    EXPECT_TRUE(take(kBlock, -30).empty());
}

TEST(AutoRecordGateTest, TakesTheLargestValueNotTheLargestMagnitude)
{
    EXPECT_NEAR(AutoRecordGate::levelOf({-1.0F, 0.5F}, {0.25F, -0.9F}), -6.0206, 1e-4);
    EXPECT_LT(AutoRecordGate::levelOf({-1.0F}, {-1.0F}), -1000.0);
}

TEST_F(RecordingControllersTest, RecordsAutomaticallyWhatIsLoudEnough)
{
    AutoRecordController automatic(*controller);
    EXPECT_EQ(automatic.startReadout(), QStringLiteral("-24 dB"));
    EXPECT_EQ(automatic.durationReadout(), QStringLiteral("5s"));
    double heardSeconds = 0.0;
    bool wasWritten = false;
    automatic.setBlockHandler([&](const AutoRecordController::Bar& bar) {
        heardSeconds += bar.seconds;
        wasWritten = bar.isWritten;
    });
    bool hasStopped = false;
    automatic.setStoppedHandler([&] { hasStopped = true; });
    ASSERT_EQ(automatic.begin(), std::nullopt);
    EXPECT_TRUE(levels().metersActive());
    hear(22050, 0.001F);
    ASSERT_TRUE(waitUntil([&] { return heardSeconds >= 0.5; }));
    EXPECT_FALSE(wasWritten);
    EXPECT_EQ(document->recording().numRecordedFrames(), 0);
    automatic.setStartLevel(-12.0);
    hear(4410, 0.1F);
    ASSERT_TRUE(waitUntil([&] { return heardSeconds >= 0.6; }));
    EXPECT_FALSE(wasWritten) << "the slider is taken up at once";
    hear(4410, 0.5F);
    ASSERT_TRUE(waitUntil([&] { return heardSeconds >= 0.7; }));
    EXPECT_TRUE(wasWritten);
    automatic.completeAction();
    ASSERT_TRUE(waitUntil([&] { return hasStopped; }));
    EXPECT_FALSE(controller->recording().isRecording());
    EXPECT_GE(document->numberOfFrames(), 88200 + 4410) << "appended";
    EXPECT_EQ(document->sampleDataAtOffset(document->numberOfFrames() - 1, 1, 0), FloatBuffer{0.5F});
    EXPECT_EQ(AutoRecordController(*controller).startReadout(), QStringLiteral("-12 dB")) << "kept";
}

TEST_F(RecordingControllersTest, KeepsNothingQuietThatComesAfterDone)
{
    // Half a second that nobody has taken yet when the sheet closes.
    for (const auto& [value, numKept] : {std::pair{0.0001F, 0}, {0.5F, 22050}}) {
        const int64_t numFramesBefore = document->numberOfFrames();
        {
            AutoRecordController automatic(*controller);
            ASSERT_EQ(automatic.begin(), std::nullopt);
            hear(22050, value);
            automatic.completeAction();
        }
        ASSERT_TRUE(waitForStop());
        EXPECT_EQ(document->numberOfFrames() - numFramesBefore, numKept);
    }
}

TEST_F(RecordingControllersTest, GoesOnAsAPlainRecordingWithoutItsAutomaticController)
{
    {
        AutoRecordController automatic(*controller);
        ASSERT_EQ(automatic.begin(), std::nullopt);
    }
    hear(1000, 0.0F);
    ASSERT_TRUE(waitForFrames(1000));
    controller->transport().stopAudio();
    EXPECT_TRUE(waitForStop());
}

TEST(TimerRecordingSetupTest, KeepsStartEndAndDurationTogether)
{
    UserDefaults::standard().removeValue(QStringLiteral("timerRecording.defaultDuration"));
    const QDateTime now(QDate(2026, 3, 1), QTime(20, 15, 42, 500));
    TimerRecordingSetupController setup(now);
    const QDateTime minute(now.date(), QTime(20, 15));
    EXPECT_EQ(setup.startDate(), minute);
    EXPECT_EQ(setup.earliestDate(), minute);
    EXPECT_EQ(setup.duration(), 30.0);
    EXPECT_EQ(setup.endDate(), minute.addSecs(1800));
    setup.setStartDate(minute.addSecs(600));
    EXPECT_EQ(setup.endDate(), minute.addSecs(2400));
    setup.setEndDate(minute.addSecs(695));
    EXPECT_EQ(setup.duration(), 2.0);
    EXPECT_EQ(setup.endDate(), minute.addSecs(695));
    setup.setDuration(90.0);
    EXPECT_EQ(setup.endDate(), minute.addSecs(600 + 5400));
    setup.setStartDate(minute.addSecs(-3600));
    EXPECT_EQ(setup.startDate(), minute) << "not in the past";
    setup.confirm();
    EXPECT_EQ(TimerRecordingSetupController(now).duration(), 90.0);
    UserDefaults::standard().removeValue(QStringLiteral("timerRecording.defaultDuration"));
}

TEST_F(RecordingControllersTest, RecordsFromTheStartDateToTheEndDate)
{
    QDateTime now(QDate(2026, 3, 1), QTime(20, 15));
    TimerRecordingEnabledController timer(*controller, now.addSecs(60), now.addSecs(150),
                                          [&] { return now; });
    EXPECT_EQ(timer.durationText(), QStringLiteral("1.500 min."));
    timer.check();
    EXPECT_FALSE(timer.isRecording());
    EXPECT_EQ(timer.secondsToGo(), 60);
    now = now.addSecs(61);
    timer.check();
    ASSERT_TRUE(timer.isRecording());
    EXPECT_TRUE(levels().metersActive());
    EXPECT_EQ(timer.secondsToGo(), 89);
    hear(2000, 0.5F);
    now = now.addSecs(90);
    timer.check();
    EXPECT_TRUE(timer.isOver());
    ASSERT_TRUE(waitForStop());
    EXPECT_EQ(document->numberOfFrames(), 90200);
}

TEST_F(RecordingControllersTest, StartsATimerRecordingWhoseStartHasPassedAndSaysWhatEndsItEarly)
{
    const QDateTime now(QDate(2026, 3, 1), QTime(20, 15));
    const auto clock = [now] { return now; };
    TimerRecordingEnabledController late(*controller, now.addSecs(-60), now.addSecs(60), clock);
    late.check();
    EXPECT_TRUE(late.isRecording());
    late.stopRecording();
    ASSERT_TRUE(waitForStop());
    TimerRecordingEnabledController tooLate(*controller, now.addSecs(-60), now.addSecs(-30), clock);
    tooLate.check();
    EXPECT_TRUE(tooLate.isOver());
    EXPECT_FALSE(controller->recording().isRecording());
    hardware->setStartError(Error{Error::Code::failed, QStringLiteral("It is in use.")});
    TimerRecordingEnabledController failing(*controller, now, now.addSecs(60), clock);
    MaybeError told;
    failing.setChangeHandler([&](const MaybeError& error) { told = error; });
    failing.check();
    EXPECT_TRUE(failing.isOver());
    ASSERT_TRUE(told);
    EXPECT_EQ(told->message, QStringLiteral("It is in use."));
}

TEST_F(RecordingControllersTest, TellsLevelsAboutTwentyFourTimesASecond)
{
    HardwareState state = hardware->state();
    state.devices[1] = SimulatedHardware::inputDevice(3, QStringLiteral("in"), 48000.0);
    hardware->setState(state);
    VLRTAudioMonitorCore core;
    core.setDeviceSampleRate(48000.0);
    InputLevels report;
    std::vector<float> frames(2 * 512, -0.25F);
    for (int i = 1; i <= 8; ++i) {
        frames[3] = i == 2 ? 1.0F : 0.0F;
        core.capture(frames.data(), 512);
        EXPECT_EQ(core.takeReport(report), i % 4 == 0) << i;
        if (i == 4) {
            EXPECT_NEAR(report.rightLevel, 0.0, 1e-6) << "the peak since the report before";
        }
    }
    EXPECT_NEAR(report.leftLevel, -12.041, 1e-3);
    EXPECT_NEAR(report.rightLevel, -12.041, 1e-3);
}

TEST_F(RecordingControllersTest, HoldsPeaksAndRemembersClips)
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

TEST_F(RecordingControllersTest, FollowsTheChosenInputAndItsLoss)
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

TEST_F(RecordingControllersTest, TheMetersRunWhileAnybodyWantsThem)
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

TEST_F(RecordingControllersTest, TakesUpChannelsThatAreChosenWhileItRecords)
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

TEST_F(RecordingControllersTest, HearsTheInputOnTheDefaultOutputUntilThatGoesAway)
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

TEST_F(RecordingControllersTest, BringsBackTheMetersAtAStartButNeverTheInputsSound)
{
    UserDefaults::standard().setValue(AudioPreference::playthrough(), true);
    UserDefaults::standard().setValue(AudioPreference::inputMetersActive(), 1);
    EXPECT_NE(levels().audioMonitor(), nullptr);
    EXPECT_EQ(levels().audioPlaythrough(), nullptr);
    EXPECT_FALSE(levels().isPlaythroughOn());
    levels().updatePlaythroughState();
    EXPECT_EQ(hardware->output(), nullptr);
}

TEST_F(RecordingControllersTest, SetsTheGainOfTheInput)
{
    EXPECT_TRUE(levels().isInputGainSettable());
    levels().setInputGain(0.25F);
    EXPECT_EQ(hardware->state().devices[1].input.gains.at(0).value, 0.25F);
    EXPECT_EQ(levels().inputGain(), 0.25F);
    levels().setInputGain(7.0F);
    EXPECT_EQ(levels().inputGain(), 1.0F);
}

TEST_F(RecordingControllersTest, PlaysTheInputThroughAtOnceAndNeverFallsBehind)
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

TEST_F(RecordingControllersTest, GoesBackToTheDefaultsWhereThePlaythroughCannotStart)
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
