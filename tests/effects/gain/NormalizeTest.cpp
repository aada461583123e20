#include "effects/gain/Normalize.h"
#include "effects/EffectKit.h"

using namespace velloria;

namespace
{

constexpr size_t kBlock = 8192;

/// Left peaks at 0.5, right at -0.25, each once, in different places.
kit::TrackSamples twoPeaks(size_t numFrames)
{
    kit::TrackSamples tracks = {FloatBuffer(numFrames, 0.125F), FloatBuffer(numFrames, -0.0625F)};
    tracks[0][numFrames / 3] = 0.5F;
    tracks[1][numFrames - 1] = -0.25F;
    return tracks;
}

QVariantMap arguments(double peak, bool isIndependent, bool usesRMS)
{
    return {{QStringLiteral("Peak"), peak},
            {QStringLiteral("Independently"), isIndependent ? 1 : 0},
            {QStringLiteral("rms"), usesRMS ? 1 : 0}};
}

/// The level of the loudest block, sample by sample.
double rmsOfLoudestBlock(const FloatBuffer& samples)
{
    double loudest = 0.0;
    for (size_t start = 0; start < samples.size(); start += kBlock) {
        const size_t end = std::min(samples.size(), start + kBlock);
        double sum = 0.0;
        for (size_t i = start; i < end; ++i)
            sum += static_cast<double>(samples[i]) * static_cast<double>(samples[i]);
        loudest = std::max(loudest, std::sqrt(sum / static_cast<double>(end - start)));
    }
    return loudest;
}

TEST(Normalize, BringsPeaksToTheTarget)
{
    struct Case {
        QVariantMap arguments;
        std::vector<float> factors;
    };
    const auto minus6 = static_cast<float>(std::pow(10.0, -0.3));
    const Case cases[] = {
        {arguments(0.0, false, false), {2.0F, 2.0F}},
        {arguments(0.0, true, false), {2.0F, 4.0F}},
        {arguments(-6.0, true, false), {2.0F * minus6, 4.0F * minus6}},
        {{}, {2.0F, 2.0F}},
    };
    for (const size_t numFrames : {6UL, 100000UL}) {
        for (const Case& c : cases) {
            const kit::TrackSamples in = twoPeaks(numFrames);
            const auto document = kit::documentOf(in);
            Normalize filter(QStringLiteral("Normalize..."));
            filter.setParameters(c.arguments);
            EXPECT_FALSE(kit::applyTo(document, filter, kit::everythingOf(*document)));
            for (size_t track = 0; track < in.size(); ++track) {
                EXPECT_FLOAT_EQ(filter.ampFactors()[track], c.factors[track]);
                const FloatBuffer out = kit::samplesOf(*document, static_cast<int32_t>(track));
                for (size_t i = 0; i < numFrames; ++i)
                    ASSERT_EQ(out[i], in[track][i] * filter.ampFactors()[track]);
            }
        }
    }
}

TEST(Normalize, MeasuresTheLoudestBlockWhenAskedForRMS)
{
    kit::TrackSamples in = {kit::noise(5 * kBlock + 100, 1), kit::noise(5 * kBlock + 100, 2)};
    for (size_t i = 0; i < in[0].size(); ++i) {
        in[0][i] *= i / kBlock == 2 ? 0.5F : 0.1F;
        in[1][i] *= i >= 5 * kBlock ? 0.3F : 0.2F;
    }
    const auto document = kit::documentOf(in);
    Normalize filter(QStringLiteral("Normalize..."));
    filter.setParameters(arguments(-20.0, true, true));
    EXPECT_FALSE(kit::applyTo(document, filter, kit::everythingOf(*document)));
    for (size_t track = 0; track < in.size(); ++track)
        EXPECT_FLOAT_EQ(filter.ampFactors()[track], static_cast<float>(0.1 / rmsOfLoudestBlock(in[track])));
}

TEST(Normalize, LeavesSilenceSilentAndSurvivesExtremes)
{
    const kit::TrackSamples in = kit::differentTracks(20000);
    for (const bool isIndependent : {true, false}) {
        for (const bool usesRMS : {true, false}) {
            const auto document = kit::documentOf({in[2], in[3], FloatBuffer(20000, 0.5F)});
            Normalize filter(QStringLiteral("Normalize..."));
            filter.setParameters(arguments(0.0, isIndependent, usesRMS));
            EXPECT_FALSE(kit::applyTo(document, filter, kit::everythingOf(*document)));
            EXPECT_EQ(kit::samplesOf(*document, 0), in[2]);
            for (const float factor : filter.ampFactors())
                EXPECT_TRUE(std::isfinite(factor));
            if (isIndependent) {
                EXPECT_EQ(filter.ampFactors()[0], 1.0F);
                EXPECT_FLOAT_EQ(filter.ampFactors()[2], 2.0F);
            }
        }
    }
}

TEST(Normalize, LeavesASilentSelectionAndSaysSo)
{
    using Kind = EffectRemark::Kind;
    const FloatBuffer silence(20000);
    const FloatBuffer faintest(20000, std::numeric_limits<float>::denorm_min());
    const FloatBuffer loud(20000, 0.5F);
    struct Case {
        kit::TrackSamples in;
        std::optional<Kind> together;
        std::optional<Kind> independent;
    };
    const Case cases[] = {{{silence}, Kind::silent, Kind::silent},
                          {{silence, silence}, Kind::silent, Kind::silent},
                          {{faintest, silence}, Kind::tooQuiet, Kind::tooQuiet},
                          {{silence, loud}, std::nullopt, std::nullopt},
                          {{loud, faintest}, std::nullopt, std::nullopt}};
    for (const Case& c : cases) {
        for (const bool isIndependent : {false, true}) {
            const auto document = kit::documentOf(c.in);
            document->undoManager().clear();
            const TrackList before = document->audioTracks();
            Normalize filter(QStringLiteral("Normalize..."));
            filter.setParameters(arguments(0.0, isIndependent, false));
            kit::FilterRecorder recorder;
            EXPECT_FALSE(kit::applyTo(document, filter, kit::everythingOf(*document), &recorder));
            const std::optional<EffectRemark> remark = filter.remark();
            const std::optional<Kind> expected = isIndependent ? c.independent : c.together;
            EXPECT_EQ(remark ? std::optional(remark->kind) : std::nullopt, expected);
            EXPECT_EQ(document->audioTracks() == before, expected.has_value());
            EXPECT_EQ(document->undoManager().count(), expected ? 0 : 1);
            EXPECT_EQ(recorder.numFinished, 1);
            EXPECT_EQ(recorder.inserted.size(), expected ? 0U : 1U);
        }
    }
}

TEST(Normalize, CountsProgressOverBothPassesAndCanStopInEither)
{
    const size_t numFrames = 20 * kBlock + 1;
    for (const int cancelAfter : {1, 20, 22, 41, INT_MAX}) {
        const auto document = kit::documentOf(twoPeaks(numFrames));
        const TrackList before = document->audioTracks();
        Normalize filter(QStringLiteral("Normalize..."));
        kit::FilterRecorder recorder(cancelAfter);
        EXPECT_FALSE(kit::applyTo(document, filter, kit::everythingOf(*document), &recorder));
        EXPECT_EQ(recorder.numFinished, 1);
        EXPECT_EQ(filter.wasCancelled(), cancelAfter != INT_MAX);
        EXPECT_EQ(document->audioTracks() == before, filter.wasCancelled());
        if (filter.wasCancelled())
            continue;
        ASSERT_EQ(recorder.progresses.size(), 43U);
        EXPECT_EQ(recorder.progresses[1], static_cast<double>(kBlock) / static_cast<double>(2 * numFrames));
        EXPECT_EQ(recorder.progresses[21], 0.5);
        EXPECT_EQ(recorder.progresses[42], 1.0);
        EXPECT_TRUE(std::is_sorted(recorder.progresses.begin(), recorder.progresses.end()));
    }
}

} // namespace
