#include "Classes/CoreAudio/RecordingKit.h"

#include "Classes/CoreAudio/VLRTAudioMonitor.h"
#include "Classes/CoreAudio/VLRTAudioPlayer.h"
#include "Classes/CoreAudio/VLRTAudioPlaythrough.h"

#include <gmock/gmock.h>

using namespace velloria;
using kit::RecordingTest;
namespace RealtimeTrap = kit::RealtimeTrap;
using testing::ElementsAre;

namespace
{

FloatBuffer joined(FloatBuffer first, const FloatBuffer& second, const FloatBuffer& third = {})
{
    first.insert(first.end(), second.begin(), second.end());
    first.insert(first.end(), third.begin(), third.end());
    return first;
}

} // namespace

TEST_F(RecordingTest, KeepsEveryFrameInOrderWhateverTheBlockSizes)
{
    ASSERT_EQ(recording().recordFrom(0, 0, 0), std::nullopt);
    EXPECT_TRUE(recording().isRecording());
    const int callsBefore = RealtimeTrap::numCalls();
    hearBlocks(300000, {512, 1, 777, 4096, 5000, 64});
    EXPECT_GT(RealtimeTrap::numCalls(), callsBefore);
    ASSERT_TRUE(stop());
    EXPECT_EQ(document->numberOfFrames(), 300000);
    EXPECT_EQ(track(0), heard(0, 300000, 0));
    EXPECT_EQ(track(1), heard(0, 300000, 1));
    EXPECT_EQ(recording().endError(), std::nullopt);
    EXPECT_EQ(document->undoManager().undoText(), QStringLiteral("Recording"));
    EXPECT_EQ(hardware->input(), nullptr) << "nothing runs when nothing records";
    EXPECT_EQ(document->transport().cueTime(), -1.0);
}

TEST_F(RecordingTest, DoesNothingInTheDevicesThreadThatCouldMakeItWait)
{
    if (!RealtimeTrap::canTrap())
        GTEST_SKIP() << "a sanitizer has the functions that the trap would count";
    const int before = RealtimeTrap::numViolations();
    for (const double rate : {44100.0, 48000.0}) {
        setInput(rate);
        ASSERT_EQ(recording().recordFrom(0, 0, 0), std::nullopt);
        // More than the ring holds, too: what does not fit must not be told there.
        for (const size_t size : {512U, 4096U, 70000U, 70000U, 1U})
            hear(size);
        ASSERT_TRUE(stop());
    }
    VLRTAudioMonitor monitor;
    ASSERT_EQ(monitor.start(), std::nullopt);
    hear(10000);
    VLRTAudioPlaythrough playthrough;
    ASSERT_EQ(playthrough.start(), std::nullopt);
    for (int i = 0; i < 40; ++i)
        hear(512);
    EXPECT_EQ(RealtimeTrap::numViolations(), before);
}

TEST_F(RecordingTest, LosesOnlyTheBlockThatFindsNoRoomAndSaysSo)
{
    ASSERT_EQ(recording().recordFrom(0, 0, 0), std::nullopt);
    hear(1000);
    hear(65536);
    hear(1000);
    const VLRTAudioRecorder& recorder = *recording().audioRecording();
    EXPECT_EQ(recorder.core().numLostBlocks(), 1U);
    ASSERT_TRUE(stop());
    EXPECT_TRUE(recording().lossMessage().contains("missing in one place"));
    EXPECT_EQ(recording().endError(), std::nullopt);
    EXPECT_EQ(track(0), joined(heard(0, 1000, 0), heard(66536, 67536, 0)));
    EXPECT_THAT(log.printed(),
                testing::Contains(QStringLiteral(
                    "VLRTRingBuffer::appendFloats() called with more bytes than can be appended.")));
}

TEST_F(RecordingTest, TakesThePlaceOfTheSelectionOnItsTracks)
{
    struct Case {
        int32_t numTracks;
        int32_t track;
        int32_t numTracksAfter;
        std::vector<int32_t> recorded;
    };
    const Case cases[] = {{1, 0, 1, {0}},    {2, 0, 2, {0, 1}}, {2, 1, 2, {0, 1}}, {3, 0, 3, {0, 1}},
                          {3, 2, 4, {2, 3}}, {4, 3, 4, {2, 3}}, {4, 1, 4, {0, 1}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.numTracks << " tracks, track " << c.track);
        kit::TrackSamples samples(static_cast<size_t>(c.numTracks), kit::ramp(1000, -5000));
        document = kit::documentOf(samples);
        const double rate = document->sampleRate();
        ASSERT_EQ(recording().recordFrom(300 / rate, 500 / rate, c.track), std::nullopt);
        EXPECT_EQ(document->transport().cueTime(), 300 / rate);
        EXPECT_EQ(recording().audioRecordingClips().size(), c.recorded.size());
        setInput(44100.0);
        const auto first = static_cast<int64_t>(numHeard());
        hear(700);
        ASSERT_TRUE(waitForFrames(700));
        EXPECT_EQ(document->transport().cueTime(), 1000 / rate);
        ASSERT_TRUE(stop());
        ASSERT_EQ(document->trackCount(), c.numTracksAfter);
        for (int32_t i = 0; i < c.numTracks; ++i) {
            const auto found = std::find(c.recorded.begin(), c.recorded.end(), i);
            const auto channel = static_cast<int>(found - c.recorded.begin());
            const FloatBuffer expected =
                found == c.recorded.end() ? kit::ramp(1000, -5000)
                                          : joined(kit::ramp(300, -5000), heard(first, first + 700, channel),
                                                   kit::ramp(500, -4500));
            EXPECT_EQ(document->sampleDataAtOffset(0, static_cast<int64_t>(expected.size()), i), expected)
                << i;
        }
        document->undoManager().undo();
        EXPECT_EQ(document->trackCount(), c.numTracks);
        EXPECT_EQ(track(c.recorded[0]), kit::ramp(1000, -5000));
        document->undoManager().redo();
        EXPECT_EQ(document->numberOfFrames(), 1500);
    }
}

TEST_F(RecordingTest, ChoosesTheChannelsOfThePreferences)
{
    struct Case {
        uint32_t numChannels;
        int left;
        int right;
        int heardLeft;
        int heardRight;
    };
    const Case cases[] = {{2, 0, 1, 0, 1}, {2, 1, 0, 1, 0}, {6, 3, 5, 3, 5}, {6, 4, 4, 4, 4},
                          {2, 7, 9, 0, 1}, {1, 0, 1, 0, 0}, {2, -3, 1, 0, 1}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.numChannels << " channels: " << c.left << ", " << c.right);
        setInput(44100.0, c.numChannels);
        UserDefaults::standard().setValue(AudioPreference::inputLeftChannel(), c.left);
        UserDefaults::standard().setValue(AudioPreference::inputRightChannel(), c.right);
        document = std::make_shared<SoundDocument>();
        ASSERT_EQ(recording().recordFrom(0, 0, 0), std::nullopt);
        EXPECT_EQ(recording().audioRecording()->core().channels(), c.heardLeft == c.heardRight ? 1 : 2);
        const auto first = static_cast<int64_t>(numHeard());
        hear(600);
        ASSERT_TRUE(stop());
        EXPECT_EQ(track(0), heard(first, first + 600, c.heardLeft));
        EXPECT_EQ(track(1), heard(first, first + 600, c.heardRight));
    }
}

TEST_F(RecordingTest, ReadsTheOutputsChannelsWhenTheInputsConfigurationChanges)
{
    setInput(44100.0, 4);
    UserDefaults& defaults = UserDefaults::standard();
    defaults.setValue(AudioPreference::outputLeftChannel(), 3);
    defaults.setValue(AudioPreference::outputRightChannel(), 2);
    ASSERT_EQ(recording().recordFrom(0, 0, 0), std::nullopt);
    hear(100);
    NotificationCenter::standard().post(AudioNotification::inputConfigurationDidChange());
    hear(100);
    // A choice of input channels goes another way.
    NotificationCenter::standard().post(AudioNotification::inputChannelsDidChange());
    hear(100);
    ASSERT_TRUE(stop());
    EXPECT_EQ(track(0), joined(heard(0, 100, 0), heard(100, 200, 3), heard(200, 300, 0)));
    EXPECT_EQ(track(1), joined(heard(0, 100, 1), heard(100, 200, 2), heard(200, 300, 1)));
    defaults.removeValue(AudioPreference::outputLeftChannel());
    defaults.removeValue(AudioPreference::outputRightChannel());
}

TEST_F(RecordingTest, HearsTheInputOnTheChannelsThatAreChosenMeanwhile)
{
    HardwareState state = hardware->state();
    state.devices.push_back(SimulatedHardware::outputDevice(9, QStringLiteral("six"), 44100.0, 6));
    state.defaultOutput = 9;
    hardware->setState(state);
    UserDefaults& defaults = UserDefaults::standard();
    VLRTAudioPlayer::registerDefaults();
    VLRTAudioPlaythrough playthrough;
    ASSERT_EQ(playthrough.start(), std::nullopt);
    const auto channelsHeard = [&] {
        hear(1);
        std::vector<int32_t> channels;
        const std::vector<float> frame = hardware->output()->pull(1);
        for (size_t i = 0; i < frame.size(); ++i)
            if (frame[i] != 0.0F)
                channels.push_back(static_cast<int32_t>(i));
        return channels;
    };
    hear(2000);
    EXPECT_THAT(channelsHeard(), ElementsAre(0, 1));
    defaults.setValue(AudioPreference::outputLeftChannel(), 4);
    defaults.setValue(AudioPreference::outputRightChannel(), 3);
    NotificationCenter::standard().post(AudioNotification::outputConfigurationDidChange());
    EXPECT_THAT(channelsHeard(), ElementsAre(3, 4));
    playthrough.stop();
    defaults.removeValue(AudioPreference::outputLeftChannel());
    defaults.removeValue(AudioPreference::outputRightChannel());
}

TEST_F(RecordingTest, MakesExactlyAsManyFramesOfAnotherRateAsTheTimeTakes)
{
    for (const double rate : {48000.0, 96000.0, 22050.0, 8000.0}) {
        SCOPED_TRACE(rate);
        setInput(rate);
        document = std::make_shared<SoundDocument>();
        ASSERT_EQ(recording().recordFrom(0, 0, 0), std::nullopt);
        EXPECT_EQ(recording().audioRecording()->core().deviceSampleRate(), rate);
        // A constant: what comes out is one, too, but for the filter's ringing at both ends.
        std::vector<float> block(2 * 997, 0.5F);
        constexpr int kNumBlocks = 101;
        for (int i = 0; i < kNumBlocks; ++i) {
            hardware->input()->push(block);
            const auto numHeard = static_cast<double>((i + 1) * 997);
            ASSERT_TRUE(waitForFrames(static_cast<int64_t>(numHeard * 44100.0 / rate) - 20000));
        }
        ASSERT_TRUE(stop());
        EXPECT_EQ(document->numberOfFrames(),
                  static_cast<int64_t>(std::ceil(kNumBlocks * 997 * 44100.0 / rate)));
        const FloatBuffer left = track(0);
        for (size_t i = 1000; i + 1000 < left.size(); ++i)
            ASSERT_NEAR(left[i], 0.5F, 1e-4) << i;
    }
}

TEST_F(RecordingTest, LiftsMarkersOutOfTheWayAndPutsThemBack)
{
    for (const int32_t trackNumber : {0, 1}) {
        document = kit::documentOf({kit::ramp(1000, 0), kit::ramp(1000, 0)});
        kit::setMarkers(*document, {100, 300, 400, 500, 900});
        const double rate = document->sampleRate();
        const auto positions = [&] { return kit::positionsOf(*document->orderedMarkers()); };
        ASSERT_EQ(recording().recordFrom(300 / rate, 500 / rate, trackNumber), std::nullopt);
        if (trackNumber == 0) {
            EXPECT_THAT(positions(), ElementsAre(100, 300));
            ASSERT_TRUE(recording().audioRecordingSavedMarkers());
        }
        hear(50);
        ASSERT_TRUE(stop());
        EXPECT_FALSE(recording().audioRecordingSavedMarkers());
        if (trackNumber == 1) {
            EXPECT_EQ(positions().size(), 5U) << "the markers belong to the first track";
            continue;
        }
        EXPECT_THAT(positions(), ElementsAre(100, 300, 300, 700));
        EXPECT_EQ(document->undoManager().undoText(), QStringLiteral("Restore Markers"));
        document->undoManager().undo();
        EXPECT_EQ(document->undoManager().undoText(), QStringLiteral("Recording"));
        document->undoManager().undo();
        EXPECT_THAT(positions(), ElementsAre(100, 300, 400, 500, 900));
    }
}

TEST_F(RecordingTest, KeepsWhatWasCapturedWhateverEndsIt)
{
    struct Case {
        const char* message;
        std::function<void()> end;
    };
    const Case cases[] = {
        {"The audio device went away.", [&] { hardware->unplug(QStringLiteral("in")); }},
        {"The sound server went away.", [&] { hardware->input()->fail(StopReason::serverLost); }},
        {"The audio device changed its sample rate.", [&] { setInput(96000.0); }}};
    const HardwareState usual = hardware->state();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        hardware->setState(usual);
        document = std::make_shared<SoundDocument>();
        ASSERT_EQ(recording().recordFrom(0, 0, 0), std::nullopt);
        const auto first = static_cast<int64_t>(numHeard());
        hear(3000);
        c.end();
        ASSERT_TRUE(waitForStop());
        ASSERT_TRUE(recording().endError());
        EXPECT_EQ(recording().endError()->message,
                  QStringLiteral("Recording stopped. ") + QString::fromLatin1(c.message) +
                      QStringLiteral(" What was recorded until then is kept."));
        EXPECT_EQ(track(0), heard(first, first + 3000, 0));
    }
    EXPECT_TRUE(log.printed().contains(QStringLiteral("VLRTAudioRecorderCore::streamFormatDidChange()")));
}

TEST_F(RecordingTest, StopsAndKeepsTheTakeWhenTheDiskIsFull)
{
    ASSERT_EQ(recording().recordFrom(0, 0, 0), std::nullopt);
    hear(10000);
    ASSERT_TRUE(waitForFrames(10000));
    {
        const kit::FileSizeLimit limit(50000);
        hear(30000);
        ASSERT_TRUE(waitForStop());
    }
    ASSERT_TRUE(recording().endError());
    EXPECT_TRUE(recording().endError()->message.startsWith(QStringLiteral("Recording stopped. ")));
    EXPECT_GE(document->numberOfFrames(), 10000);
    EXPECT_EQ(document->sampleDataAtOffset(0, 10000, 1), heard(0, 10000, 1));
}

TEST_F(RecordingTest, LeavesTheDocumentAloneWhereNothingCanRecord)
{
    document = kit::documentOf({kit::ramp(1000, 0), kit::ramp(1000, 0)});
    const TrackList tracks = document->audioTracks();
    hardware->setStartError(Error{Error::Code::failed, QStringLiteral("It is in use.")});
    const MaybeError inUse = recording().recordFrom(0, 0.01, 0);
    ASSERT_TRUE(inUse);
    EXPECT_EQ(inUse->message, QStringLiteral("It is in use."));
    hardware->setStartError(std::nullopt);
    hardware->unplug(QStringLiteral("in"));
    ASSERT_TRUE(recording().recordFrom(0, 0.01, 0));
    EXPECT_FALSE(recording().isInProgress());
    EXPECT_EQ(document->audioTracks(), tracks);
    EXPECT_EQ(document->undoManager().undoText(), QString());
}

TEST_F(RecordingTest, RefusesEditsOfTheTracksThatItGrows)
{
    ASSERT_EQ(recording().recordFrom(0, 0, 0), std::nullopt);
    hear(1000);
    ASSERT_TRUE(waitForFrames(1000));
    document->recalculateNumFrames();
    document->cropFrom(0, 0.001, 0, 1);
    document->replaceDataAtOffset(0, 500, 0, {});
    document->undoableSetSampleRate(8000.0);
    hear(1000);
    ASSERT_TRUE(stop());
    EXPECT_EQ(track(0), heard(0, 2000, 0));
    EXPECT_EQ(document->sampleRate(), 44100.0);
}

TEST_F(RecordingTest, GoesOnWithTheSameTakeAfterAStopThatWasNotYetHeardOf)
{
    ASSERT_EQ(recording().recordFrom(0, 0, 0), std::nullopt);
    hear(1000);
    recording().stop();
    EXPECT_TRUE(document->transport().isPaused());
    ASSERT_EQ(recording().resume(), std::nullopt);
    hear(500);
    ASSERT_TRUE(waitForFrames(1500));
    ASSERT_TRUE(stop());
    EXPECT_EQ(track(0), heard(0, 1500, 0));
}

TEST_F(RecordingTest, HasTheTakeOnDiskAsItComes)
{
    ASSERT_EQ(recording().recordFrom(0, 0, 0), std::nullopt);
    hear(5000);
    ASSERT_TRUE(waitForFrames(5000));
    for (const auto& clip : recording().audioRecordingClips())
        EXPECT_EQ(std::filesystem::file_size(clip->tempFile()->path()), 68U + 4 * 5000);
    ASSERT_TRUE(stop());
}
