#include "measurement/LevelMeter.h"
#include "measurement/Levels.h"
#include "measurement/LoudnessMeter.h"
#include "measurement/MeasurementKit.h"
#include "measurement/SoundStatistics.h"
#include "measurement/TruePeakMeter.h"

#include <ebur128.h>

using namespace velloria;

namespace
{

double linear(double decibels)
{
    return std::pow(10.0, decibels / 20.0);
}

void append(FloatBuffer& samples, const FloatBuffer& more)
{
    samples.insert(samples.end(), more.begin(), more.end());
}

/// The tracks in pieces whose sizes share nothing with any window.
void addInPieces(LoudnessMeter& meter, const std::vector<FloatBuffer>& tracks)
{
    size_t piece = 1;
    for (size_t done = 0; done < tracks[0].size(); piece = piece * 3 % 7919 + 1) {
        const size_t count = std::min(piece, tracks[0].size() - done);
        std::vector<std::span<const float>> spans;
        for (const FloatBuffer& track : tracks)
            spans.push_back(std::span(track).subspan(done, count));
        ASSERT_TRUE(meter.addFrames(spans));
        done += count;
    }
}

struct Tone {
    double seconds;
    double levelDB;
};

/// 1 kHz in both channels, as the test signals of EBU Tech 3341 and 3342 are described.
FloatBuffer tones(const std::vector<Tone>& parts, double rate)
{
    FloatBuffer samples;
    for (const Tone& part : parts)
        append(samples, kit::sine(1000.0, linear(part.levelDB), part.seconds, rate));
    return samples;
}

TEST(LoudnessMeter, MeasuresTheTestSignalsOfTheStandard)
{
    struct Case {
        std::vector<Tone> parts;
        double integrated;
        double range; ///< negative: not given
    };
    // EBU Tech 3341, signals 1 to 5; Tech 3342, signals 1 to 4, whose integrated loudness is the gated mean
    // of their powers. Tolerances are 0.1 LU and 1 LU.
    const Case cases[] = {
        {{{20, -23}}, -23.0, -1},
        {{{20, -33}}, -33.0, -1},
        {{{10, -36}, {60, -23}, {10, -36}}, -23.0, -1},
        {{{10, -72}, {10, -36}, {60, -23}, {10, -36}, {10, -72}}, -23.0, -1},
        {{{20, -26}, {20.1, -20}, {20, -26}}, -23.0, -1},
        {{{20, -20}, {20, -30}}, -22.6, 10},
        {{{20, -20}, {20, -15}}, -16.8, 5},
        {{{20, -40}, {20, -20}}, -20.0, 20},
        {{{20, -50}, {20, -35}, {20, -20}, {20, -35}, {20, -50}}, -24.5, 15},
    };
    // The rates take turns, so that both are gone through in half the time.
    double rate = 44100.0;
    for (const Case& c : cases) {
        rate = rate == 44100.0 ? 48000.0 : 44100.0;
        const FloatBuffer track = tones(c.parts, rate);
        const auto meter = LoudnessMeter::make(rate, 2);
        addInPieces(*meter, {track, track});
        EXPECT_NEAR(meter->integrated(), c.integrated, 0.1);
        if (c.range >= 0) {
            EXPECT_NEAR(meter->range(), c.range, 1.0);
        }
    }
}

TEST(LoudnessMeter, FollowsMomentaryAndShortTermLoudness)
{
    // Tech 3341, signal 6: channels of 5.0 with levels of their own come to -23 LUFS.
    std::vector<FloatBuffer> surround;
    for (const double levelDB : {-28.0, -28.0, -24.0, -30.0, -30.0})
        surround.push_back(kit::sine(1000.0, linear(levelDB), 20.0, 48000.0));
    const auto five = LoudnessMeter::make(48000.0, 5);
    addInPieces(*five, surround);
    EXPECT_NEAR(five->integrated(), -23.0, 0.1);

    // Signals 9 and 12: short-term and momentary loudness stand still although the level changes within the
    // window.
    FloatBuffer shortTerm;
    FloatBuffer momentary;
    for (int i = 0; i < 5; ++i) {
        append(shortTerm, tones({{1.34, -20}, {1.66, -30}}, 48000.0));
        append(momentary, tones({{0.18, -20}, {0.22, -30}, {0.18, -20}, {0.22, -30}}, 48000.0));
    }
    const auto slow = LoudnessMeter::make(48000.0, 2);
    addInPieces(*slow, {shortTerm, shortTerm});
    EXPECT_NEAR(slow->shortTerm(), -23.0, 0.1);
    EXPECT_NEAR(slow->highestShortTerm(), -23.0, 0.1);
    const auto quick = LoudnessMeter::make(48000.0, 2);
    addInPieces(*quick, {momentary, momentary});
    EXPECT_NEAR(quick->momentary(), -23.0, 0.2);
    EXPECT_NEAR(quick->highestMomentary(), -23.0, 0.2);
}

TEST(LoudnessMeter, FindsTheLoudestWindowWhereverItBegins)
{
    // Tech 3341, signals 10 and 13.
    for (const int i : {0, 3, 7, 18}) {
        FloatBuffer burst = tones({{0.02 * i, -200}, {0.4, -23}, {1, -200}}, 48000.0);
        const auto quick = LoudnessMeter::make(48000.0, 2);
        addInPieces(*quick, {burst, burst});
        EXPECT_NEAR(quick->highestMomentary(), -23.0, 0.1) << i;
        FloatBuffer passage = tones({{0.15 * i, -200}, {3, -23}, {1, -200}}, 48000.0);
        const auto slow = LoudnessMeter::make(48000.0, 2);
        addInPieces(*slow, {passage, passage});
        EXPECT_NEAR(slow->highestShortTerm(), -23.0, 0.1) << i;
    }
}

TEST(LoudnessMeter, LeavesOutNothingButLowFrequencies)
{
    // One track sounds, at a level that gives -23 LUFS in front; the sides of BS.1770-4 count 1.5 dB more.
    const FloatBuffer sound = kit::sine(1000.0, linear(-20.0), 2.0, 48000.0);
    const FloatBuffer silence(sound.size(), 0.0F);
    for (const size_t numTracks : {size_t{6}, size_t{7}, size_t{8}, size_t{12}}) {
        for (size_t sounding = 0; sounding < numTracks; ++sounding) {
            std::vector<FloatBuffer> tracks(numTracks, silence);
            tracks[sounding] = sound;
            const auto meter = LoudnessMeter::make(48000.0, numTracks);
            addInPieces(*meter, tracks);
            const bool isSide = sounding >= 4 && sounding < 6 + (numTracks <= 8 ? 2 : 0);
            if (sounding == 3) {
                EXPECT_EQ(meter->integrated(), -std::numeric_limits<double>::infinity()) << numTracks;
            } else {
                EXPECT_NEAR(meter->integrated(), isSide ? -21.5 : -23.0, 0.1)
                    << sounding << " of " << numTracks;
            }
        }
    }
}

TEST(LoudnessMeter, HasNoLoudnessForSilenceAndOddRates)
{
    const auto meter = LoudnessMeter::make(44100.0, 1);
    addInPieces(*meter, {FloatBuffer(44100 * 4, 0.0F)});
    for (const double value :
         {meter->integrated(), meter->momentary(), meter->shortTerm(), meter->highestShortTerm()})
        EXPECT_EQ(value, -std::numeric_limits<double>::infinity());
    const auto brief = LoudnessMeter::make(44100.0, 1);
    addInPieces(*brief, {kit::noise(1000, 1, 0.5F)});
    EXPECT_EQ(brief->integrated(), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(brief->highestMomentary(), -std::numeric_limits<double>::infinity());
    EXPECT_FALSE(LoudnessMeter::make(4000.0, 1));
    EXPECT_FALSE(LoudnessMeter::make(std::nan(""), 1));
    EXPECT_FALSE(LoudnessMeter::make(44100.0, 65));
    EXPECT_FALSE(LoudnessMeter::make(44100.0, 0));

    FloatBuffer broken = kit::noise(44100, 2, 0.5F);
    broken[100] = std::numeric_limits<float>::quiet_NaN();
    broken[200] = std::numeric_limits<float>::infinity();
    const auto survivor = LoudnessMeter::make(44100.0, 1);
    addInPieces(*survivor, {broken});
    EXPECT_TRUE(std::isfinite(survivor->integrated()));
}

/// Faded in and out, so that nothing but the sine lies between its samples.
FloatBuffer softSine(double frequency, double level, double rate, double phase)
{
    FloatBuffer samples = kit::sine(frequency, level, 0.25, rate, phase);
    const size_t fade = samples.size() / 4;
    for (size_t i = 0; i < fade; ++i) {
        const double gain =
            0.5 - 0.5 * std::cos(std::numbers::pi * static_cast<double>(i) / static_cast<double>(fade));
        samples[i] = static_cast<float>(samples[i] * gain);
        samples[samples.size() - 1 - i] = static_cast<float>(samples[samples.size() - 1 - i] * gain);
    }
    return samples;
}

float truePeakOf(const FloatBuffer& samples, size_t blockSize = 100000)
{
    TruePeakMeter meter;
    for (size_t done = 0; done < samples.size(); done += blockSize)
        meter.addSamples(std::span(samples).subspan(done, std::min(blockSize, samples.size() - done)));
    return meter.truePeak();
}

TEST(TruePeakMeter, FindsTheTopOfASineAtEveryRateWhereverItsSamplesFall)
{
    for (const double rate : {22050.0, 44100.0, 96000.0, 192000.0}) {
        for (const double part : {0.01, 0.1, 0.1875, 0.25, 1.0 / 3.0, 0.4, 0.435, 0.45, 0.46}) {
            // A whole part of the rate keeps its samples at the same places of the sine for good.
            for (const double phase : {0.0, std::numbers::pi / 8.0, std::numbers::pi / 4.0, 1.0}) {
                const float peak = truePeakOf(softSine(part * rate, 0.5, rate, phase));
                EXPECT_NEAR(decibelsOfLevel(peak), decibelsOfLevel(0.5), 0.1) << part << " of " << rate;
            }
        }
    }
}

TEST(TruePeakMeter, ReadsTheTestSignalsOfTheStandard)
{
    // EBU Tech 3341, signals 15 to 19, whose tolerance is from -0.4 to 0.2 dB.
    struct Case {
        double divisor;
        double degrees;
        double level;
        double expectedDB;
    };
    const Case cases[] = {
        {4, 0, 0.5, -6}, {4, 45, 0.5, -6}, {6, 60, 0.5, -6}, {8, 67.5, 0.5, -6}, {4, 45, 1.41, 3}};
    for (const Case& c : cases) {
        const FloatBuffer samples =
            softSine(48000.0 / c.divisor, c.level, 48000.0, c.degrees / 180.0 * std::numbers::pi);
        EXPECT_NEAR(decibelsOfLevel(truePeakOf(samples)), c.expectedDB, 0.1) << c.divisor << " " << c.degrees;
    }
}

/// What lies between the samples in 16 steps, by a sinc so long that its window hardly matters.
double peakBetween(const FloatBuffer& samples)
{
    constexpr int reach = 150;
    double peak = 0.0;
    for (int step = 0; step < 16; ++step) {
        std::array<double, 2 * reach> weights{};
        for (int k = 0; k < 2 * reach; ++k) {
            const double x = std::numbers::pi * (k - reach + 1 - step / 16.0);
            weights[static_cast<size_t>(k)] =
                (x == 0.0 ? 1.0 : std::sin(x) / x) * (0.5 + 0.5 * std::cos(x / reach));
        }
        for (int64_t i = 0; i < std::ssize(samples); ++i) {
            double value = 0.0;
            for (int64_t k = 0; k < 2 * reach; ++k)
                if (const int64_t at = i + k - reach + 1; at >= 0 && at < std::ssize(samples))
                    value += weights[static_cast<size_t>(k)] * samples[static_cast<size_t>(at)];
            peak = std::max(peak, std::abs(value));
        }
    }
    return peak;
}

TEST(TruePeakMeter, ReadsNoiseNoLowerThanTheLibraryAndTheSameInAnyBlocks)
{
    for (const unsigned seed : {1U, 2U, 3U}) {
        FloatBuffer samples = kit::noise(8000, seed, 0.7F);
        // The loudest comes early, late, and anywhere.
        samples[seed == 1 ? 700 : 7500] *= seed == 3 ? 1.0F : 1.4F;
        ebur128_state* state = ebur128_init(1, 48000, EBUR128_MODE_TRUE_PEAK);
        ebur128_add_frames_float(state, samples.data(), samples.size());
        double library = 0.0;
        ebur128_true_peak(state, 0, &library);
        ebur128_destroy(&state);
        const float peak = truePeakOf(samples);
        EXPECT_GE(peak, library);
        // Noise up to half of the rate has ever higher tops the longer one looks for them. Means of
        // neighbours have nothing there.
        FloatBuffer means = samples;
        for (size_t i = 1; i < means.size(); ++i)
            means[i] = 0.5F * (samples[i - 1] + samples[i]);
        EXPECT_NEAR(decibelsOfLevel(truePeakOf(means)), decibelsOfLevel(peakBetween(means)), 0.1);
        for (const size_t blockSize : {size_t{1}, size_t{137}, size_t{1024}, size_t{5000}})
            EXPECT_EQ(truePeakOf(samples, blockSize), peak) << blockSize;
    }
    EXPECT_EQ(truePeakOf(FloatBuffer(1, 0.25F)), 0.25F);
    EXPECT_EQ(truePeakOf(FloatBuffer(5000, 0.0F)), 0.0F);
    FloatBuffer broken(5000, 0.0F);
    broken[100] = std::numeric_limits<float>::quiet_NaN();
    broken[200] = std::numeric_limits<float>::infinity();
    EXPECT_EQ(truePeakOf(broken), 0.0F);
}

TEST(LevelMeter, SumsWhatALoopSums)
{
    FloatBuffer samples = kit::noise(100003, 4, 0.9F);
    samples[7] = 1.0F;
    samples[99999] = -1.5F;
    samples[500] = LevelMeter::fullScale;
    samples[501] = std::nextafter(LevelMeter::fullScale, 0.0F);
    samples[600] = std::numeric_limits<float>::quiet_NaN();
    samples[601] = -std::numeric_limits<float>::infinity();
    LevelMeter meter;
    for (size_t done = 0; done < samples.size(); done += 777)
        meter.addSamples(std::span(samples).subspan(done, std::min<size_t>(777, samples.size() - done)));
    double sum = 0.0;
    double squares = 0.0;
    for (const float sample : samples)
        if (std::isfinite(sample)) {
            sum += static_cast<double>(sample);
            squares += static_cast<double>(sample) * static_cast<double>(sample);
        }
    const auto count = static_cast<double>(samples.size());
    EXPECT_EQ(meter.numSamples(), 100003);
    EXPECT_EQ(meter.peak(), 1.5F);
    EXPECT_EQ(meter.numClipped(), 3);
    EXPECT_NEAR(meter.dcOffset(), sum / count, 1e-12);
    EXPECT_NEAR(meter.rms(), std::sqrt(squares / count), 1e-9);
    EXPECT_EQ(LevelMeter().rms(), 0.0);
}

TEST(SoundStatistics, MeasuresEachTrackOfARangeAndAllTogether)
{
    const FloatBuffer left = kit::sine(1000.0, 0.5, 5.0, 44100.0);
    FloatBuffer right = kit::noise(left.size() - 1000, 5, 0.25F);
    const std::vector<AudioTrackPtr> tracks = kit::tracksOf({left, right});
    SilentProgress progress;
    MaybeError error;
    const int64_t offset = 1234;
    const auto numFrames = static_cast<int64_t>(left.size()) - offset;
    const auto all = SoundStatistics::ofTracks(tracks, 44100.0, offset, numFrames, progress, &error);
    ASSERT_TRUE(all);
    right.resize(left.size(), 0.0F);
    const auto meter = LoudnessMeter::make(44100.0, 2);
    addInPieces(*meter, {FloatBuffer(left.begin() + offset, left.end()),
                         FloatBuffer(right.begin() + offset, right.end())});
    EXPECT_NEAR(all->loudness->integrated, meter->integrated(), 1e-9);
    EXPECT_NEAR(all->loudness->highestMomentary, meter->highestMomentary(), 1e-9);
    LevelMeter level;
    level.addSamples(std::span(right).subspan(offset));
    EXPECT_EQ(all->tracks[1].peak, level.peak());
    EXPECT_NEAR(all->tracks[1].rms, level.rms(), 1e-12);
    EXPECT_NEAR(all->tracks[0].truePeak, 0.5, 1e-3);
    EXPECT_EQ(all->highestTruePeak(), all->tracks[0].truePeak);
    EXPECT_EQ(all->numFrames, numFrames);

    const auto nothing = SoundStatistics::ofTracks(tracks, 44100.0, 0, 0, progress, &error);
    ASSERT_TRUE(nothing);
    EXPECT_EQ(nothing->tracks[0].rms, 0.0);
    kit::CancellingProgress cancelling;
    EXPECT_FALSE(SoundStatistics::ofTracks(tracks, 44100.0, 0, numFrames, cancelling, &error));
    EXPECT_TRUE(error && error->isUserCancelled());
}

} // namespace
