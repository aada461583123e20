#include "platform/codec/SampleRateConverter.h"
#include "platform/codec/AudioConverterWrapper.h"

#include "platform/Log.h"

#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <numbers>
#include <utility>

namespace velloria::test
{

namespace
{

using Sine = std::complex<double>;

/// Mono sine of amplitude 0.5 that begins at phase 0, handed out in pieces of odd lengths.
class SineSource : public AudioConverterDataSource
{
public:
    SineSource(double frequency, double rate, int64_t numFrames)
        : mStep(2.0 * std::numbers::pi * frequency / rate)
        , mNumFrames(numFrames)
    {
    }
    std::vector<float> next(int64_t numFrames)
    {
        const int64_t count = std::min({numFrames, mNumFrames - mOffset, int64_t{997}});
        std::vector<float> frames(static_cast<size_t>(count));
        for (float& frame : frames)
            frame = static_cast<float>(0.5 * std::sin(mStep * static_cast<double>(mOffset++)));
        return frames;
    }
    std::vector<float> interleavedDataForAudioConverter(AudioConverterWrapper&,
                                                        int64_t numberOfPackets) override
    {
        return next(numberOfPackets);
    }

private:
    double mStep;
    int64_t mNumFrames;
    int64_t mOffset = 0;
};

std::vector<float> converted(double frequency, double inputRate, double outputRate, int64_t numInputFrames)
{
    SineSource source(frequency, inputRate, numInputFrames);
    const auto converter = SampleRateConverter::create(inputRate, outputRate, 1, nullptr);
    std::vector<float> all;
    while (true) {
        const std::vector<float> some =
            converter->convert(1711, [&source](int64_t numFrames) { return source.next(numFrames); });
        if (some.empty())
            return all;
        all.insert(all.end(), some.begin(), some.end());
    }
}

/// Weight of frame i of a window that keeps leakage below -150 dB (four-term Blackman-Harris, squared).
double windowAt(size_t index, size_t length)
{
    const double x =
        2.0 * std::numbers::pi * (static_cast<double>(index) + 0.5) / static_cast<double>(length);
    const double window =
        0.35875 - 0.48829 * std::cos(x) + 0.14128 * std::cos(2.0 * x) - 0.01168 * std::cos(3.0 * x);
    return window * window;
}

/// Amplitude and phase of the sine at `frequency` in the middle of the samples, and the rms of all the rest.
struct Measured {
    Sine sine;
    double restRms = 0.0;
};

Measured measure(const std::vector<float>& samples, double frequency, double rate)
{
    const size_t skipped = samples.size() / 8;
    const size_t length = samples.size() - 2 * skipped;
    const double step = 2.0 * std::numbers::pi * frequency / rate;
    Sine sum = 0.0;
    double weight = 0.0;
    for (size_t i = 0; i < length; ++i) {
        const double phase = step * static_cast<double>(i + skipped);
        sum += windowAt(i, length) * static_cast<double>(samples[i + skipped]) * std::polar(1.0, -phase);
        weight += windowAt(i, length);
    }
    Measured measured;
    measured.sine = 2.0 * sum / weight * Sine(0.0, 1.0);
    double rest = 0.0;
    for (size_t i = skipped; i < skipped + length; ++i) {
        const double phase = step * static_cast<double>(i);
        const double wanted = (measured.sine * std::polar(1.0, phase) * Sine(0.0, -1.0)).real();
        rest += std::pow(static_cast<double>(samples[i]) - wanted, 2.0);
    }
    measured.restRms = std::sqrt(rest / static_cast<double>(length));
    return measured;
}

struct RatePair {
    double from;
    double to;
};

constexpr RatePair kPairs[] = {{44100.0, 48000.0}, {48000.0, 44100.0}, {96000.0, 44100.0},
                               {22050.0, 96000.0}, {44100.0, 44056.5}, {192000.0, 8000.0}};

} // namespace

TEST(SampleRateConverter, KeepsLevelAndPhaseOfSinesInThePassband)
{
    for (const RatePair pair : kPairs) {
        const double nyquist = std::min(pair.from, pair.to) / 2.0;
        for (const double part : {0.01, 0.4, 0.75, 0.9}) {
            SCOPED_TRACE(testing::Message() << pair.from << " to " << pair.to << " at " << part);
            const double frequency = part * nyquist;
            const auto numFrames = static_cast<int64_t>(40000.0 * std::max(1.0, pair.from / pair.to));
            const Measured got =
                measure(converted(frequency, pair.from, pair.to, numFrames), frequency, pair.to);
            EXPECT_NEAR(20.0 * std::log10(std::abs(got.sine) / 0.5), 0.0, 0.01);
            const double lateFrames = std::arg(got.sine) * pair.to / (2.0 * std::numbers::pi * frequency);
            EXPECT_NEAR(lateFrames, 0.0, 0.001);
            // Images, distortion and noise together, below the sine.
            EXPECT_LT(20.0 * std::log10(got.restRms * std::sqrt(2.0) / 0.5), -120.0);
        }
    }
}

TEST(SampleRateConverter, LetsNothingThroughThatTheLowerRateCannotHold)
{
    for (const RatePair pair :
         {RatePair{48000.0, 44100.0}, RatePair{96000.0, 44100.0}, RatePair{44100.0, 8000.0}}) {
        const double nyquist = pair.to / 2.0;
        for (const double frequency : {nyquist * 1.005, (nyquist + pair.from / 2.0) / 2.0}) {
            std::vector<float> got = converted(frequency, pair.from, pair.to, 60000);
            got = std::vector<float>(got.begin() + 2000, got.end() - 2000);
            double sum = 0.0;
            for (const float sample : got)
                sum += static_cast<double>(sample) * sample;
            EXPECT_LT(10.0 * std::log10(2.0 * sum / static_cast<double>(got.size()) / 0.25), -120.0)
                << frequency << " of " << pair.from << " to " << pair.to;
        }
    }
}

TEST(SampleRateConverter, GivesExactlyTheFramesThatTheRatesCallFor)
{
    for (const RatePair pair : kPairs) {
        for (const int64_t numFrames : {0, 1, 2, 500, 4096, 10007}) {
            const auto expected = std::ceil(static_cast<double>(numFrames) * pair.to / pair.from);
            EXPECT_EQ(converted(100.0, pair.from, pair.to, numFrames).size(), static_cast<size_t>(expected))
                << numFrames << " frames " << pair.from << " to " << pair.to;
        }
    }
}

TEST(AudioConverterWrapper, ConvertsRatesInWhateverPiecesItIsAsked)
{
    const StreamDescription input(44100.0);
    const StreamDescription output(48000.0);
    SineSource source(440.0, 44100.0, 20000);
    const auto converter = AudioConverterWrapper::withInputFormat(input, output, nullptr);
    converter->setDataSource(&source);
    std::vector<float> all;
    for (int64_t size = 1; true; size = size % 4096 * 3 + 1) {
        const std::vector<float> some = converter->convertedFloatsWithNumPackets(size);
        if (some.empty())
            break;
        all.insert(all.end(), some.begin(), some.end());
    }
    EXPECT_EQ(all, converted(440.0, 44100.0, 48000.0, 20000));
}

TEST(AudioConverterWrapper, WaitsForASourceThatIsStillBeingRecorded)
{
    class Recorder : public AudioConverterDataSource
    {
    public:
        std::vector<float> interleavedDataForAudioConverter(AudioConverterWrapper&, int64_t) override
        {
            return std::exchange(waiting, {});
        }
        std::vector<float> waiting;
    };
    SineSource sine(440.0, 44100.0, 20000);
    Recorder recorder;
    const auto converter = AudioConverterWrapper::withInputFormat(StreamDescription(44100.0),
                                                                  StreamDescription(48000.0), nullptr);
    converter->setDataSource(&recorder);
    converter->setDataSourceMayPause(true);
    std::vector<float> all;
    const auto take = [&](int64_t numFrames) {
        const std::vector<float> some = converter->convertedFloatsWithNumPackets(numFrames);
        EXPECT_LE(some.size(), static_cast<size_t>(numFrames));
        all.insert(all.end(), some.begin(), some.end());
        return some.size();
    };
    while (true) {
        recorder.waiting = sine.next(512);
        if (recorder.waiting.empty())
            break;
        take(static_cast<int64_t>(recorder.waiting.size()) * 480 / 441);
        take(1); // nothing is waiting now
    }
    converter->setDataSourceMayPause(false);
    while (take(1000) > 0)
        continue;
    EXPECT_EQ(all, converted(440.0, 44100.0, 48000.0, 20000));
}

TEST(AudioConverterWrapper, RefusesWhatItCannotConvert)
{
    LogCapture log;
    StreamDescription unknown(44100.0, 2);
    unknown.setFormat(fourCharCode("QDM2"));
    const StreamDescription input(44100.0, 2);
    MaybeError error;
    EXPECT_FALSE(AudioConverterWrapper::withInputFormat(input, unknown, &error));
    EXPECT_TRUE(error);
    EXPECT_TRUE(log.hasLogged(
        "-[AudioConverterWrapper initWithInputFormat:] Error in AudioConverterNew(): 1718449215"));
    EXPECT_FALSE(AudioConverterWrapper::withInputFormat(input, StreamDescription(48000.0, 1), nullptr));
    EXPECT_FALSE(AudioConverterWrapper::withInputFormat(input, StreamDescription(0.0, 2), nullptr));
}

} // namespace velloria::test
