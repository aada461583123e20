#include "controllers/AutoRecordController.h"
#include "controllers/EditCommands.h"
#include "controllers/RecordingKit.h"
#include "controllers/SelectionModel.h"
#include "controllers/TimerRecordingEnabledController.h"
#include "controllers/TimerRecordingSetupController.h"

using namespace velloria;
using RecordingControllersTest = kit::RecordingControllersTest;

namespace
{

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
