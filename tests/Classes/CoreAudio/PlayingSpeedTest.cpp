#include "Classes/CoreAudio/PlayingKit.h"

#include <cmath>

using namespace velloria;

namespace
{

constexpr double kRate = 44100.0;
constexpr double kFrequency = 441.0;
constexpr double kAmplitude = 0.5;

class PlayingSpeedTest : public kit::PlayingTest
{
protected:
    void makeSine(int64_t numFrames)
    {
        FloatBuffer sine(static_cast<size_t>(numFrames));
        for (size_t i = 0; i < sine.size(); ++i)
            sine[i] = static_cast<float>(kAmplitude *
                                         std::sin(2 * M_PI * kFrequency * static_cast<double>(i) / kRate));
        document = kit::documentOf({sine, sine});
    }

    /// How often it goes up through zero, for every second of the device.
    static double frequencyOf(const std::vector<float>& samples, double rate)
    {
        int64_t count = 0;
        size_t first = 0;
        size_t last = 0;
        for (size_t i = 1; i < samples.size(); ++i) {
            if (samples[i - 1] >= 0 || samples[i] < 0)
                continue;
            first = first ? first : i;
            last = i;
            ++count;
        }
        return static_cast<double>(count - 1) * rate / static_cast<double>(last - first);
    }

    /// The largest second difference: that of a sine is its amplitude times the square of its angle a sample,
    /// and a click is far above it.
    static double largestBend(const std::vector<float>& samples)
    {
        double bend = 0;
        for (size_t i = 2; i < samples.size(); ++i)
            bend = std::max(bend, double{std::abs(samples[i] - 2 * samples[i - 1] + samples[i - 2])});
        return bend;
    }
    static double bendOfSine(double frequency, double rate)
    {
        return kAmplitude * std::pow(2 * M_PI * frequency / rate, 2);
    }
};

} // namespace

TEST_F(PlayingSpeedTest, ConvertsToTheRateOfTheDevice)
{
    for (const double deviceRate : {48000.0, 96000.0, 22050.0}) {
        SCOPED_TRACE(deviceRate);
        setDevice(SimulatedHardware::outputDevice(2, QStringLiteral("out"), deviceRate));
        makeSine(200000);
        transport().playSelection(everything(), 0);
        const std::vector<float> played = play(30000, {480, 1000});
        double largestError = 0;
        // The first frames come from a sound that begins all at once.
        for (size_t i = 500; i < played.size(); ++i) {
            const double expected =
                kAmplitude * std::sin(2 * M_PI * kFrequency * static_cast<double>(i) / deviceRate);
            largestError = std::max(largestError, std::abs(played[i] - expected));
        }
        // The stage may begin up to half a frame of the device early or late.
        EXPECT_LT(largestError, kAmplitude * 2 * M_PI * kFrequency / deviceRate * 0.51);
        transport().stopSound();
        EXPECT_TRUE(waitForStop());
    }
}

TEST_F(PlayingSpeedTest, AccountsForTheStagesInTheTimeStamp)
{
    setDevice(SimulatedHardware::outputDevice(2, QStringLiteral("out"), 48000.0));
    makeRamps(400000);
    for (const double speed : {1.0, 2.0, 0.5}) {
        SCOPED_TRACE(speed);
        transport().setPlaybackSpeed(speed);
        transport().playSelection(everything(), 0);
        constexpr int64_t numFrames = 48000;
        play(numFrames);
        const double expected = static_cast<double>(numFrames) / 48000.0 * 44100.0 * speed;
        const double onItsWay = static_cast<double>(kLatency) / 48000.0 * 44100.0 * speed;
        EXPECT_NEAR(static_cast<double>(transport().audioPlayback()->playbackTimestamp()),
                    expected - onItsWay, 1024);
        transport().stopSound();
        EXPECT_TRUE(waitForStop());
    }
}

TEST_F(PlayingSpeedTest, ChangesTheTempoWithoutThePitch)
{
    makeSine(300000);
    for (const double speed : {0.5, 0.75, 1.5, 2.0}) {
        SCOPED_TRACE(speed);
        transport().setPlaybackSpeed(speed);
        transport().playSelection(everything(), 0);
        // The sine begins all at once, which is no sine.
        play(8000);
        const std::vector<float> played = play(52000);
        EXPECT_NEAR(frequencyOf(played, kRate), kFrequency, 0.5);
        EXPECT_NEAR(static_cast<double>(transport().audioPlayback()->core().feed().numConsumed),
                    60000 * speed, 6000);
        transport().stopSound();
        EXPECT_TRUE(waitForStop());
    }
}

TEST_F(PlayingSpeedTest, ChangesSpeedWithItsPitch)
{
    makeSine(300000);
    transport().playSelection(everything(), 0);
    transport().audioPlayback()->setVarispeedRate(1.5);
    play(2000);
    EXPECT_NEAR(frequencyOf(play(30000), kRate), 1.5 * kFrequency, 0.5);
    transport().audioPlayback()->setVarispeedRate(0.5);
    play(2000);
    EXPECT_NEAR(frequencyOf(play(30000), kRate), 0.5 * kFrequency, 0.5);
}

TEST_F(PlayingSpeedTest, ChangesLiveWithoutAClick)
{
    makeSine(600000);
    transport().playSelection(everything(), 0);
    std::vector<float> played = play(10000);
    for (const double speed : {1.5, 1.25, 1.0, 0.5, 2.0, 1.0}) {
        transport().setPlaybackSpeed(speed);
        const std::vector<float> next = play(20000);
        played.insert(played.end(), next.begin(), next.end());
    }
    EXPECT_LT(largestBend(played), 8 * bendOfSine(kFrequency, kRate));
}

TEST_F(PlayingSpeedTest, ComesToTheSpeedAskedLastHoweverQuicklyItChanges)
{
    makeRamps(900000);
    transport().playSelection(everything(), 0);
    const double speeds[] = {1.5, 1.0, 0.5, 1.25, 1.0, 2.0};
    // Now and then within the crossfade from the speed before.
    for (uint32_t i = 0; i < 60; ++i) {
        transport().setPlaybackSpeed(speeds[i % 6]);
        hardware->output()->pull(1 + i * 37 % 700);
    }
    transport().setPlaybackSpeed(1.5);
    hardware->output()->pull(100);
    transport().setPlaybackSpeed(1.0);
    const auto isUntouched = [this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const std::vector<float> played = play(2000);
        const auto first = static_cast<int64_t>(played.front()) - 1;
        return played == rampFrames(first, first + 2000);
    };
    bool hasCome = false;
    for (int i = 0; i < 150 && !hasCome; ++i)
        hasCome = isUntouched();
    EXPECT_TRUE(hasCome);
}

TEST_F(PlayingSpeedTest, PlaysToTheVeryEndAtEverySpeedAndRate)
{
    constexpr int64_t numFrames = 60000;
    for (const double deviceRate : {44100.0, 48000.0, 192000.0, 8000.0}) {
        for (const double speed : {1.0, 0.5, 1.5, 2.0}) {
            SCOPED_TRACE(testing::Message() << deviceRate << " Hz, speed " << speed);
            setDevice(SimulatedHardware::outputDevice(2, QStringLiteral("out"), deviceRate));
            makeSine(numFrames);
            transport().setPlaybackSpeed(speed);
            transport().playSelection(everything(), 0);
            int64_t numPlayed = 0;
            int64_t lastLoud = 0;
            while (transport().audioPlayback()) {
                waitForFill(20000);
                if (hardware->output())
                    for (const float sample : play(1000, {1000}))
                        lastLoud =
                            std::abs(sample) > 0.2 * kAmplitude ? numPlayed++ : (++numPlayed, lastLoud);
                QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
            }
            const double expected = numFrames / kRate / speed;
            // The tempo stage smears the end a little; nothing of it is missing.
            EXPECT_GT(static_cast<double>(lastLoud) / deviceRate, expected - 0.005);
            EXPECT_LT(static_cast<double>(lastLoud) / deviceRate, expected + 0.03);
        }
    }
}

TEST_F(PlayingSpeedTest, IsUntouchedAgainAtSpeedOne)
{
    makeRamps(900000);
    transport().playSelection(everything(), 0);
    EXPECT_EQ(play(5000), rampFrames(0, 5000));
    transport().setPlaybackSpeed(1.5);
    play(50000);
    transport().setPlaybackSpeed(1.0);
    play(5000);
    const std::vector<float> played = play(5000);
    const auto first = static_cast<int64_t>(played.front()) - 1;
    EXPECT_EQ(played, rampFrames(first, first + 5000));
}

TEST_F(PlayingSpeedTest, DoesNothingInACallbackThatMightWait)
{
    if (!kit::RealtimeTrap::canTrap())
        GTEST_SKIP() << "a sanitizer has taken the functions to trap";
    const int before = kit::RealtimeTrap::numViolations();
    {
        kit::RealtimeTrap::enter();
        delete new std::string(100, 'x');
        kit::RealtimeTrap::leave();
    }
    EXPECT_EQ(kit::RealtimeTrap::numViolations(), before + 4) << "the trap itself";
    const int atStart = kit::RealtimeTrap::numViolations();
    const int callsAtStart = kit::RealtimeTrap::numCalls();
    for (const double deviceRate : {44100.0, 48000.0}) {
        setDevice(SimulatedHardware::outputDevice(2, QStringLiteral("out"), deviceRate));
        makeSine(900000);
        // Nobody fetches it, so that its memory fills up, too.
        transport().keepRendered(true);
        transport().setPlaybackSpeed(1.0);
        transport().setAudioPlaybackLoops(true);
        transport().playSelection(range(1000, 700000), 0);
        for (const double speed : {1.0, 1.5, 1.75, 0.5, 1.0, 2.0}) {
            SCOPED_TRACE(speed);
            transport().setPlaybackSpeed(speed);
            play(60000, {512, 100, 4096});
            EXPECT_EQ(kit::RealtimeTrap::numViolations(), atStart) << deviceRate;
        }
        transport().setPlaybackSpeed(1.0);
        for (const double speed : {1.5, 0.75, 2.0, 1.0}) {
            SCOPED_TRACE(speed);
            transport().audioPlayback()->setVarispeedRate(speed);
            play(60000, {512, 100, 4096});
            EXPECT_EQ(kit::RealtimeTrap::numViolations(), atStart) << deviceRate;
        }
        // The ring runs dry and the source ends.
        transport().setAudioPlaybackLoops(false, 0, 900000);
        for (int i = 0; i < 1000 && hardware->output(); ++i)
            hardware->output()->pull(4096);
        EXPECT_TRUE(waitForStop());
    }
    EXPECT_EQ(kit::RealtimeTrap::numViolations(), atStart);
    EXPECT_GT(kit::RealtimeTrap::numCalls(), callsAtStart + 1000);
}
