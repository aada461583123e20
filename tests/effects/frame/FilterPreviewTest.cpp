#include "effects/frame/FilterPreview.h"

#include "Classes/CoreAudio/AudioPreferences.h"
#include "document/DocumentKit.h"
#include "effects/EffectRegistry.h"
#include "kit/SimulatedDevice.h"
#include "platform/Log.h"
#include "platform/UserDefaults.h"

#include <QCoreApplication>
#include <chrono>
#include <cmath>
#include <thread>

namespace velloria::kit
{

/// Amplify over frames 1000 .. 10999 of a stereo ramp, on simulated hardware that asks for a tenth of a
/// second at once, a tenth of a second before that is heard.
class FilterPreviewTest : public testing::Test
{
protected:
    static constexpr int64_t kStart = 1000;
    static constexpr int64_t kEnd = 11000;
    static constexpr uint32_t kRequest = 4410;

    FilterPreviewTest()
    {
        AudioHardware::setCurrent(hardware);
        VLRTAudioPlayer::registerDefaults();
        makeDocument(44100.0, 20000, kEnd);
    }

    /// The effect goes from kStart to `end`.
    void makeDocument(double rate, size_t numFrames, int64_t end)
    {
        hardware->setOutputTiming(static_cast<int64_t>(rate / 10), static_cast<int64_t>(rate / 10));
        FloatBuffer left(numFrames);
        for (size_t i = 0; i < left.size(); ++i)
            left[i] = static_cast<float>(i + 1) / 32768.0F;
        FloatBuffer right = left;
        for (float& sample : right)
            sample = -sample;
        document = documentOf({left, right});
        document->undoableSetSampleRate(rate);
        document->updateTrackPanning();
        const EffectEntry* const entry = EffectRegistry::effectWithScriptName(QStringLiteral("amplify"));
        filter = entry->make(entry->menuTitle);
        filter->setSource(std::make_shared<DocumentSource>(
            document, SoundSelection{kStart / rate, static_cast<double>(end) / rate, 0, 2}));
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
        return pullLeft(*hardware, preview->audioPlayback()->core(), numFrames, {kRequest, 777, 1, 4096});
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

TEST_F(FilterPreviewTest, HasNoHoleAtAnyRate)
{
    for (const double rate : {44100.0, 96000.0, 192000.0}) {
        SCOPED_TRACE(rate);
        const auto request = static_cast<uint32_t>(rate / 10);
        HardwareState state = hardware->state();
        state.devices[0] = SimulatedHardware::outputDevice(2, QStringLiteral("out"), rate);
        hardware->setState(state);
        makeDocument(rate, 200000, 190000);
        start();
        // Two requests at once, as when a device begins: nobody had time to fill the ring anew.
        std::vector<float> heard;
        const auto take = [&](const std::vector<float>& frames) {
            for (size_t i = 0; i < frames.size(); i += 2)
                heard.push_back(frames[i]);
        };
        take(hardware->output()->pull(request));
        take(hardware->output()->pull(request));
        const std::vector<float> rest =
            pullLeft(*hardware, preview->audioPlayback()->core(), 100000 - 2 * request, {request, 1, 5000});
        heard.insert(heard.end(), rest.begin(), rest.end());
        for (int64_t i = 0; i < 100000; ++i)
            ASSERT_NEAR(heard[static_cast<size_t>(i)], sampleAt(kStart + i, -6), 1e-5) << i;
        // A change is heard after what the ring holds, which is little more than one request, and the block
        // that is being computed meanwhile.
        preview->change([this] { setGain(-12); });
        const std::vector<float> after =
            pullLeft(*hardware, preview->audioPlayback()->core(), 2 * request, {request});
        const auto isOf = [&after](int64_t i, double decibels) {
            return std::abs(after[static_cast<size_t>(i)] - sampleAt(kStart + 100000 + i, decibels)) < 1e-5F;
        };
        int64_t numBefore = 0;
        while (numBefore < std::ssize(after) && isOf(numBefore, -6))
            ++numBefore;
        EXPECT_LE(static_cast<double>(numBefore), request + 0.02 * rate + 2 * 512);
        for (int64_t i = numBefore; i < std::ssize(after); ++i)
            ASSERT_TRUE(isOf(i, -12)) << i << ": " << after[static_cast<size_t>(i)];
        preview.reset();
    }
}

TEST_F(FilterPreviewTest, AChangeIsHeardWithin150MillisecondsWhereTheDeviceGrants50)
{
    for (const double rate : {44100.0, 48000.0, 192000.0}) {
        SCOPED_TRACE(rate);
        HardwareState state = hardware->state();
        state.devices[0] = SimulatedHardware::outputDevice(2, QStringLiteral("out"), rate);
        hardware->setState(state);
        makeDocument(rate, 200000, 190000);
        const auto granted = static_cast<uint32_t>(rate / 20);
        hardware->setOutputTiming(granted, granted);
        start();
        VLRTAudioPlayerCore& core = preview->audioPlayback()->core();
        const int64_t numHeard = std::ssize(pullLeft(*hardware, core, 10 * granted, {granted}));
        // The worst moment: the device has only just taken what it asks for at once, and the ring is full
        // again.
        while (core.feed().ring.framesAvailableToConsume() < core.numFramesToHold() - 512)
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        preview->change([this] { setGain(-12); });
        const std::vector<float> after = pullLeft(*hardware, core, 4 * granted, {granted});
        int64_t numBefore = 0;
        while (numBefore < std::ssize(after) && std::abs(after[static_cast<size_t>(numBefore)] -
                                                         sampleAt(kStart + numHeard + numBefore, -6)) < 1e-5F)
            ++numBefore;
        ASSERT_LT(numBefore, std::ssize(after));
        EXPECT_NEAR(after[static_cast<size_t>(numBefore)], sampleAt(kStart + numHeard + numBefore, -12),
                    1e-5);
        const double milliseconds = static_cast<double>(granted + numBefore) / rate * 1000.0;
        RecordProperty("milliseconds_at_" + std::to_string(std::lround(rate)), std::to_string(milliseconds));
        EXPECT_LE(milliseconds, 150.0);
        preview.reset();
    }
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

/// Counts the frames that it is given, so that one that came twice would show.
class CountingFilter : public Filter
{
public:
    CountingFilter()
        : Filter(QStringLiteral("Count"))
    {
    }
    void processingWillBegin() override
    {
        Filter::processingWillBegin();
        mCount = 0;
    }
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override
    {
        if (!Filter::requestDataWithNumFrames(numFrames, block))
            return false;
        for (size_t i = 0; i < block.front().size(); ++i)
            for (FloatBuffer& buffer : block)
                buffer[i] = static_cast<float>(mCount + static_cast<int64_t>(i)) / 32768.0F;
        mCount += std::ssize(block.front());
        return true;
    }

private:
    int64_t mCount = 0;
};

TEST_F(FilterPreviewTest, NoFrameGoesThroughTheEffectTwice)
{
    const std::shared_ptr<DocumentSource> source = filter->source();
    filter = std::make_shared<CountingFilter>();
    filter->setSource(source);
    start();
    std::vector<float> heard = pull(kRequest);
    preview->change([] {});
    for (const float sample : pull(1000))
        heard.push_back(sample);
    HardwareState state = hardware->state();
    state.devices.push_back(SimulatedHardware::outputDevice(7, QStringLiteral("other"), 44100));
    state.defaultOutput = 7;
    hardware->setState(state);
    preview->moveToSelectedDevice();
    ASSERT_TRUE(preview->isRunning());
    for (size_t i = 0; i < heard.size(); ++i)
        ASSERT_FLOAT_EQ(heard[i] * 32768.0F, static_cast<float>(i));
    // The new device goes on where the old one was heard last; then comes what the ring held, and what is
    // new.
    const std::vector<float> rest = pull(4096);
    const float first = rest.front() * 32768.0F;
    EXPECT_NEAR(first, static_cast<float>(heard.size() - kRequest), 512.0F);
    for (size_t i = 0; i < rest.size(); ++i)
        ASSERT_FLOAT_EQ(rest[i] * 32768.0F, first + static_cast<float>(i)) << i;
}

TEST_F(FilterPreviewTest, MeasuresTheSelectionFirst)
{
    constexpr int64_t end = 90000;
    makeDocument(44100.0, 100000, end);
    const std::shared_ptr<DocumentSource> source = filter->source();
    filter =
        EffectRegistry::effectWithScriptName(QStringLiteral("normalize"))->make(QStringLiteral("Normalize"));
    filter->setSource(source);
    start();
    // The ramp's last frame in the selection is brought to full scale.
    const auto levelOf = [](int64_t frame) { return static_cast<float>(kStart + frame + 1) / end; };
    const std::vector<float> heard = pull(512);
    for (int64_t i = 0; i < std::ssize(heard); ++i)
        ASSERT_NEAR(heard[static_cast<size_t>(i)], levelOf(i), 1e-5) << i;
    preview->change([this] { setGain(-20); });
    const std::vector<float> after = pullLeft(*hardware, preview->audioPlayback()->core(), 20000, {512});
    EXPECT_NEAR(after.back(), 0.1F * levelOf(std::ssize(heard) + std::ssize(after) - 1), 1e-4)
        << "a changed target needs no new measurement";
}

TEST_F(FilterPreviewTest, BypassIsAsLoudAsTheEffect)
{
    loops = true;
    start();
    pull(8192);
    preview->setBypassed(true);
    pull(8192);
    // Amplify changes nothing but the level, so that nothing is left to be heard of it.
    const std::vector<float> bypassed = pull(512);
    preview->setBypassed(false);
    pull(8192);
    const std::vector<float> processed = pull(512);
    const auto steps = [](const std::vector<float>& samples) { return samples[100] - samples[99]; };
    EXPECT_NEAR(steps(bypassed) / steps(processed), 1.0, 0.01);
}

TEST_F(FilterPreviewTest, TellsLevelsWhenTheyAreHeard)
{
    start();
    int numTold = 0;
    for (int i = 0; i < 15; ++i) {
        pull(500);
        const int64_t before = preview->audioPlayback()->playbackTimestamp();
        const std::optional<PreviewLevels> levels = preview->takeHeardLevels();
        const int64_t after = preview->audioPlayback()->playbackTimestamp();
        if (!levels)
            continue;
        ++numTold;
        // The ramp rises: its loudest frame is the last of the block that is heard.
        EXPECT_GE(levels->output.leftPeak, sampleAt(before, -6) - 1e-6F);
        EXPECT_LE(levels->output.leftPeak, sampleAt(after + 1024, -6));
        EXPECT_NEAR(levels->input.leftPeak, sampleAt(0, 6) / sampleAt(0, 0) * levels->output.leftPeak, 1e-4);
        EXPECT_EQ(levels->lowestGain, 1.0F);
    }
    EXPECT_GT(numTold, 3);
}

TEST_F(FilterPreviewTest, GoesOnAtAnotherDeviceFromTheFrameThatIsHeard)
{
    start();
    const auto numBefore = std::ssize(pull(8192));
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
    EXPECT_EQ(first, kStart + numBefore - kRequest) << "less what the other device had not played yet";
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
