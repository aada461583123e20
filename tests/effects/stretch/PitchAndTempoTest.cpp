#include "effects/stretch/PitchAndTempo.h"

#include "effects/EffectKit.h"
#include "effects/stretch/CutFinder.h"
#include "effects/stretch/PieceStretcher.h"

#include <numbers>

using namespace velloria;

namespace
{

constexpr double kRate = 44100.0;

FloatBuffer sine(size_t numFrames, double frequency)
{
    FloatBuffer samples(numFrames);
    for (size_t i = 0; i < numFrames; ++i)
        samples[i] = static_cast<float>(
            0.5 * std::sin(2.0 * std::numbers::pi * frequency * static_cast<double>(i) / kRate));
    return samples;
}

/// Of the middle of a sine, by its rising zero crossings.
double frequencyOf(const FloatBuffer& samples)
{
    const size_t from = samples.size() / 4;
    const size_t to = samples.size() * 3 / 4;
    double first = 0.0;
    double last = 0.0;
    int numCycles = -1;
    for (size_t i = from; i < to; ++i) {
        if (samples[i] >= 0.0F || samples[i + 1] < 0.0F)
            continue;
        last = static_cast<double>(i) - samples[i] / (samples[i + 1] - samples[i]);
        first = numCycles < 0 ? last : first;
        ++numCycles;
    }
    return numCycles * kRate / (last - first);
}

kit::TrackSamples changed(const kit::TrackSamples& tracks, const QVariantMap& arguments)
{
    const auto document = kit::documentOf(tracks);
    const auto filter = kit::effectNamed(QStringLiteral("change pitch"));
    filter->setParameters(arguments);
    EXPECT_FALSE(kit::applyTo(document, *filter, kit::everythingOf(*document)));
    return kit::samplesOf(*document);
}

TEST(PitchAndTempo, HasTheWantedPitchAndLengthToAFrame)
{
    struct Case {
        QVariantMap arguments;
        double frequency;
        size_t numFrames;
    };
    const size_t count = 100003;
    const QString semitones = QStringLiteral("Semitones");
    const Case cases[] = {
        {{{semitones, 12.0}}, 880.0, count},
        {{{semitones, -7.0}, {QStringLiteral("Cents"), 50.0}}, 440.0 * std::exp2(-6.5 / 12.0), count},
        {{{QStringLiteral("Tempo"), 50.0}}, 440.0, 2 * count},
        {{{QStringLiteral("Tempo"), 130.0}, {semitones, 1.0}}, 440.0 * std::exp2(1.0 / 12.0), 76925},
        {{{QStringLiteral("Length"), 3.0}}, 440.0, 132300},
        {{{QStringLiteral("Length"), 0.0}, {semitones, 3.0}}, 440.0 * std::exp2(0.25), count},
        {{{QStringLiteral("BeatsBefore"), 90.0}, {QStringLiteral("BeatsAfter"), 120.0}}, 440.0, 75002},
        {{{semitones, 4.0}, {QStringLiteral("KeepFormants"), 1}}, 440.0 * std::exp2(4.0 / 12.0), count},
    };
    for (const Case& c : cases) {
        const FloatBuffer out = changed({sine(count, 440.0)}, c.arguments).front();
        EXPECT_EQ(out.size(), c.numFrames);
        EXPECT_NEAR(frequencyOf(out), c.frequency, c.frequency * 0.0005) << c.numFrames;
    }
}

TEST(PitchAndTempo, WithoutAChangeLeavesEachBit)
{
    const kit::TrackSamples tracks = kit::differentTracks(20000);
    EXPECT_EQ(changed(tracks, {}), tracks);
}

/// Where a click's energy lies.
double centerOf(const FloatBuffer& samples, size_t from, size_t to)
{
    double sum = 0.0;
    double moment = 0.0;
    for (size_t i = from; i < std::min(to, samples.size()); ++i) {
        sum += static_cast<double>(samples[i]) * samples[i];
        moment += static_cast<double>(samples[i]) * samples[i] * static_cast<double>(i);
    }
    return moment / sum;
}

TEST(PitchAndTempo, ClicksStandInTimeInAllPiecesAndTracksStayTogether)
{
    // Long enough for two pieces, over soft noise.
    const size_t count = 17 * 44100;
    FloatBuffer left = kit::noise(count, 1);
    for (float& sample : left)
        sample *= 0.001F;
    const size_t every = 22050;
    for (size_t i = every / 2; i < count; i += every)
        left[i] = 0.9F;
    FloatBuffer right = left;
    for (float& sample : right)
        sample *= -0.5F;
    const kit::TrackSamples out = changed({left, right}, {{QStringLiteral("Tempo"), 80.0}});
    ASSERT_EQ(out[0].size(), count * 5 / 4);
    for (size_t click = 0; click < count / every; ++click) {
        const double expected = (static_cast<double>(click) + 0.5) * static_cast<double>(every) * 1.25;
        const auto near = static_cast<size_t>(expected);
        EXPECT_NEAR(centerOf(out[0], near - 4000, near + 4000), expected, 0.005 * kRate) << click;
    }
    double difference = 0.0;
    for (size_t i = 0; i < out[0].size(); ++i)
        difference = std::max(difference, static_cast<double>(std::abs(out[1][i] + 0.5F * out[0][i])));
    // The engine steers all tracks together, but not to the last digit.
    EXPECT_LT(difference, 0.03);
}

/// The level of each tenth of a second.
std::vector<double> levelsOf(const FloatBuffer& samples)
{
    std::vector<double> levels;
    for (size_t start = 0; start + 4410 <= samples.size(); start += 4410) {
        double sum = 0.0;
        for (size_t i = start; i < start + 4410; ++i)
            sum += static_cast<double>(samples[i]) * samples[i];
        levels.push_back(std::sqrt(sum / 4410.0));
    }
    return levels;
}

TEST(PitchAndTempo, NoSeamIsHeardInNoiseOrInAHeldTone)
{
    const size_t count = 17 * 44100;
    for (const FloatBuffer& sound : {kit::noise(count, 3), sine(count, 330.0)}) {
        const std::vector<double> levels =
            levelsOf(changed({sound}, {{QStringLiteral("Semitones"), 2.0}}).front());
        double mean = 0.0;
        for (size_t i = 5; i + 5 < levels.size(); ++i)
            mean += levels[i] / static_cast<double>(levels.size() - 10);
        for (size_t i = 5; i + 5 < levels.size(); ++i)
            EXPECT_NEAR(levels[i], mean, mean * 0.2) << "after " << 0.1 * static_cast<double>(i) << " s";
    }
}

// A tone that is held for more than a minute is cut all the same, at a place that is as bad as any.
TEST(PitchAndTempo, AForcedCutInAHeldToneIsNeitherASilenceNorAClick)
{
    constexpr double rate = 8000.0;
    FloatBuffer tone(static_cast<size_t>(70 * rate));
    for (size_t i = 0; i < tone.size(); ++i)
        tone[i] = static_cast<float>(
            0.5 * std::sin(2.0 * std::numbers::pi * 330.0 * static_cast<double>(i) / rate));
    const auto document = kit::documentOf({tone});
    document->undoableSetSampleRate(rate);
    const auto filter = kit::effectNamed(QStringLiteral("change pitch"));
    filter->setParameters({{QStringLiteral("Semitones"), 2.0}});
    EXPECT_FALSE(kit::applyTo(document, *filter, kit::everythingOf(*document)));
    const FloatBuffer out = kit::samplesOf(*document).front();
    ASSERT_EQ(out.size(), tone.size());
    const std::vector<double> levels = levelsOf(out);
    for (size_t i = 5; i + 5 < levels.size(); ++i)
        EXPECT_NEAR(levels[i], levels[5], levels[5] * 0.2) << "window " << i;
    // A sine bends nowhere more than at its peaks; a click would.
    const double most = 0.5 * std::pow(2.0 * std::numbers::pi * 330.0 * std::exp2(1.0 / 6.0) / rate, 2.0);
    for (size_t i = 4410; i + 4410 < out.size(); ++i)
        ASSERT_LT(std::abs(out[i - 1] - 2.0F * out[i] + out[i + 1]), 1.5 * most) << i;
}

// What becomes far longer at once does not find room in the library, which loses the rest and tells so on
// standard error, if anything.
TEST(PitchAndTempo, FarSlowerAndLowerSoundKeepsItsEndAndTheLibraryIsSilent)
{
    struct Case {
        QVariantMap arguments;
        size_t numTracks;
        size_t numFrames;
        size_t numWanted;
    };
    const QString tempo = QStringLiteral("Tempo");
    const QString semitones = QStringLiteral("Semitones");
    const Case cases[] = {
        {{{semitones, -36.0}, {tempo, 6.0}}, 1, 44100, 735000},
        {{{tempo, 5.0}}, 2, 13230, 264600},
        {{{tempo, 5.0}}, 8, 9600, 192000},
        {{{semitones, 36.0}, {tempo, 5.0}}, 1, 22050, 441000},
        {{{semitones, -36.0}, {tempo, 2000.0}}, 1, 88200, 4410},
        {{{tempo, 5.0}}, 1, 1, 20},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.numFrames << " frames to " << c.numWanted);
        testing::internal::CaptureStderr();
        const kit::TrackSamples out =
            changed(kit::TrackSamples(c.numTracks, sine(c.numFrames, 1000.0)), c.arguments);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        ASSERT_EQ(out.size(), c.numTracks);
        for (const FloatBuffer& track : out) {
            ASSERT_EQ(track.size(), c.numWanted);
            // The last window is half past the end.
            const std::vector<double> levels = levelsOf(track);
            for (size_t i = 1; i + 1 < levels.size(); ++i)
                EXPECT_GT(levels[i], 0.1) << "after " << 0.1 * static_cast<double>(i) << " s";
        }
    }
}

TEST(CutFinder, TakesQuietPlacesThenAttacksThenNoiseAndNoTone)
{
    const SampleBlock tone = {sine(200000, 200.0)};
    EXPECT_FALSE(CutFinder(tone, kRate).find(50000, 150000));
    SampleBlock gap = tone;
    std::fill(gap[0].begin() + 90000, gap[0].begin() + 100000, 0.0F);
    const std::optional<size_t> quiet = CutFinder(gap, kRate).find(50000, 150000);
    ASSERT_TRUE(quiet);
    EXPECT_TRUE(*quiet >= 90000 && *quiet <= 100000);
    SampleBlock stroke = tone;
    for (size_t i = 0; i < 120000; ++i)
        stroke[0][i] *= 0.05F;
    const std::optional<size_t> attack = CutFinder(stroke, kRate).find(50000, 150000);
    ASSERT_TRUE(attack);
    EXPECT_NEAR(static_cast<double>(*attack), 120000.0, 900.0);
    EXPECT_TRUE(CutFinder({kit::noise(200000, 5)}, kRate).find(50000, 150000));
}

TEST(PitchAndTempo, APreviewFollowsChangesAndKnowsWhatIsHeard)
{
    const auto document = kit::documentOf({sine(200000, 440.0), sine(200000, 440.0)});
    const auto filter = kit::effectNamed(QStringLiteral("change pitch"));
    filter->setParameters({{QStringLiteral("Tempo"), 50.0}});
    filter->setSource(std::make_shared<DocumentSource>(document, kit::framesOf(*document, 20000, 150000)));
    filter->begin();
    FloatBuffer heard;
    SampleBlock block;
    for (int i = 0; i < 200; ++i) {
        EXPECT_NEAR(static_cast<double>(filter->heardFrame()), 20000.0 + 256.0 * i, 2.0);
        ASSERT_TRUE(filter->requestDataWithNumFrames(512, block));
        ASSERT_EQ(block.size(), 2U);
        EXPECT_EQ(block[0], block[1]);
        heard.insert(heard.end(), block[0].begin(), block[0].end());
    }
    EXPECT_NEAR(frequencyOf(heard), 440.0, 0.5);
    filter->setParameterValue(PitchAndTempo::semitones, 12.0);
    FloatBuffer higher;
    while (filter->requestDataWithNumFrames(512, block))
        higher.insert(higher.end(), block[0].begin(), block[0].end());
    EXPECT_NEAR(frequencyOf(higher), 880.0, 2.0);
    EXPECT_NEAR(static_cast<double>(heard.size() + higher.size()), 260000.0, 300.0);
    filter->processingFinished();
}

} // namespace
