#include "effects/FilterPreview.h"

#include "Classes/CoreAudio/AudioPreferences.h"
#include "document/DocumentKit.h"
#include "effects/EffectRegistry.h"
#include "kit/SimulatedDevice.h"
#include "platform/Log.h"
#include "platform/UserDefaults.h"

#include <QCoreApplication>
#include <chrono>
#include <cmath>

namespace velloria::kit
{

/// Amplify over frames 1000 .. 10999 of a stereo ramp, on simulated hardware.
class FilterPreviewTest : public testing::Test
{
protected:
    static constexpr int64_t kStart = 1000;
    static constexpr int64_t kEnd = 11000;

    FilterPreviewTest()
    {
        AudioHardware::setCurrent(hardware);
        VLRTAudioPlayer::registerDefaults();
        FloatBuffer left(20000);
        for (size_t i = 0; i < left.size(); ++i)
            left[i] = static_cast<float>(i + 1) / 32768.0F;
        FloatBuffer right = left;
        for (float& sample : right)
            sample = -sample;
        document = documentOf({left, right});
        document->updateTrackPanning();
        const EffectEntry* const entry = EffectRegistry::effectWithScriptName(QStringLiteral("amplify"));
        filter = entry->make(entry->menuTitle);
        filter->setSource(std::make_shared<DocumentSource>(
            document, SoundSelection{kStart / 44100.0, kEnd / 44100.0, 0, 2}));
        setGain(-6);
    }
    ~FilterPreviewTest() override
    {
        preview.reset();
        AudioHardware::setCurrent(nullptr);
    }

    void setGain(double decibels) { filter->setParameterValue(0, decibels); }
    void start()
    {
        preview = std::make_unique<FilterPreview>(*filter, [this](StopReason) { ++numStops; });
        preview->setLooping(loops);
        ASSERT_FALSE(preview->start());
    }

    /// Left samples that the device hears.
    std::vector<float> pull(int64_t numFrames)
    {
        return pullLeft(*hardware, preview->audioPlayback()->core(), numFrames);
    }

    static float sampleAt(int64_t frame, double decibels)
    {
        return static_cast<float>(frame + 1) / 32768.0F * static_cast<float>(std::pow(10.0, decibels / 20.0));
    }

    LogCapture log;
    std::shared_ptr<SimulatedHardware> hardware = std::make_shared<SimulatedHardware>();
    std::shared_ptr<SoundDocument> document;
    std::shared_ptr<Filter> filter;
    std::unique_ptr<FilterPreview> preview;
    bool loops = false;
    int numStops = 0;
};

TEST_F(FilterPreviewTest, PlaysTheSelectionWithTheEffectOnceAndStops)
{
    start();
    const std::vector<float> heard = pull(kEnd - kStart);
    for (int64_t i = 0; i < kEnd - kStart; ++i)
        ASSERT_NEAR(heard[static_cast<size_t>(i)], sampleAt(kStart + i, -6), 1e-6) << i;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (numStops == 0 && std::chrono::steady_clock::now() < deadline) {
        if (hardware->output())
            hardware->output()->pull(512);
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    EXPECT_EQ(numStops, 1);
    EXPECT_EQ(hardware->output(), nullptr);
    EXPECT_FALSE(document->isDocumentEdited());
}

TEST_F(FilterPreviewTest, LoopsWithoutAGapUntilLoopingIsSwitchedOff)
{
    loops = true;
    start();
    const std::vector<float> heard = pull(3 * (kEnd - kStart));
    for (int64_t i = 0; i < std::ssize(heard); ++i)
        ASSERT_NEAR(heard[static_cast<size_t>(i)], sampleAt(kStart + i % (kEnd - kStart), -6), 1e-6) << i;
    preview->setLooping(false);
    const std::vector<float> rest = pull(2 * (kEnd - kStart));
    EXPECT_EQ(rest.back(), 0.0F) << "it came to its end";
}

TEST_F(FilterPreviewTest, AChangeIsHeardInTheNextBlockAndNoFrameIsLost)
{
    start();
    const auto numBefore = std::ssize(pull(2048));
    preview->change([this] { setGain(-12); });
    const std::vector<float> after = pull(2048);
    for (int64_t i = 0; i < std::ssize(after); ++i)
        ASSERT_NEAR(after[static_cast<size_t>(i)], sampleAt(kStart + numBefore + i, -12), 1e-6) << i;
}

TEST_F(FilterPreviewTest, BypassIsAsLoudAsTheEffect)
{
    loops = true;
    start();
    pull(8192);
    preview->setBypassed(true);
    pull(1024);
    // Amplify changes nothing but the level, so that nothing is left to be heard of it.
    const std::vector<float> bypassed = pull(512);
    preview->setBypassed(false);
    pull(1024);
    const std::vector<float> processed = pull(512);
    const auto steps = [](const std::vector<float>& samples) { return samples[100] - samples[99]; };
    EXPECT_NEAR(steps(bypassed) / steps(processed), 1.0, 0.01);
}

TEST_F(FilterPreviewTest, GoesOnAtAnotherDeviceFromTheFrameThatIsHeard)
{
    start();
    const auto numBefore = std::ssize(pull(4096));
    HardwareState state = hardware->state();
    state.devices.push_back(SimulatedHardware::outputDevice(7, QStringLiteral("other"), 44100));
    hardware->setState(state);
    preview->moveToSelectedDevice();
    EXPECT_EQ(hardware->output()->deviceID(), state.defaultOutput) << "it is not the default";
    state.defaultOutput = 7;
    hardware->setState(state);
    preview->moveToSelectedDevice();
    ASSERT_TRUE(preview->isRunning());
    EXPECT_EQ(hardware->output()->deviceID(), 7U);
    const std::vector<float> heard = pull(1024);
    const auto first = static_cast<int64_t>(std::lround(heard.front() / sampleAt(0, -6))) - 1;
    EXPECT_LE(first, kStart + numBefore);
    EXPECT_GE(first, kStart + numBefore - 1024) << "a slot of the ring and a block";
    EXPECT_EQ(numStops, 0);
    // A device that goes away ends it: nothing bursts out of the loudspeakers unasked.
    hardware->unplug(QStringLiteral("other"));
    preview->moveToSelectedDevice();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (numStops == 0 && std::chrono::steady_clock::now() < deadline)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    EXPECT_EQ(numStops, 1);
    EXPECT_FALSE(preview->isRunning());
}

TEST_F(FilterPreviewTest, FailsAndEndsWithItsDevice)
{
    hardware->setOpenError(Error{Error::Code::failed, QStringLiteral("No sound server can be reached.")});
    preview = std::make_unique<FilterPreview>(*filter, [this](StopReason) { ++numStops; });
    const MaybeError error = preview->start();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->message, QStringLiteral("No sound server can be reached."));
    hardware->setOpenError(std::nullopt);
    ASSERT_FALSE(preview->start());
    hardware->unplug(QStringLiteral("out"));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (numStops == 0 && std::chrono::steady_clock::now() < deadline)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    EXPECT_EQ(numStops, 1);
    EXPECT_FALSE(preview->isRunning());
}

/// An effect that changes the sound as well: the sign of every second frame.
TEST(LevelMatchedBypassTest, GivesTheDrySoundTheLevelOfTheWet)
{
    LevelMatchedBypass bypass(44100);
    bypass.setBypassed(true);
    float last = 0.0F;
    for (int block = 0; block < 100; ++block) {
        SampleBlock dry = {noise(512, static_cast<unsigned>(block))};
        SampleBlock wet = dry;
        for (size_t i = 0; i < 512; ++i)
            wet[0][i] *= i % 2 == 0 ? 0.25F : -0.25F;
        const float original = dry[0][511];
        bypass.process(wet, dry);
        last = wet[0][511] / original;
    }
    EXPECT_NEAR(last, 0.25, 1e-3);
    // Nothing blows up where one of them is silent.
    SampleBlock silent = {FloatBuffer(512, 0.0F)};
    bypass.process(silent, {noise(512, 7)});
    for (const float sample : silent[0])
        ASSERT_LT(std::abs(sample), 0.3F);
}

} // namespace velloria::kit
