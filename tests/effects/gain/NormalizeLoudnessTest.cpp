#include "effects/gain/NormalizeLoudness.h"
#include "effects/EffectKit.h"
#include "measurement/Levels.h"
#include "measurement/SoundStatistics.h"

#include <numbers>

using namespace velloria;

namespace
{

/// 1 kHz in two tracks; its loudness in LUFS is its level in dBFS.
kit::TrackSamples tones(double levelDB, size_t numFrames = 44100 * 5)
{
    FloatBuffer samples(numFrames);
    for (size_t i = 0; i < numFrames; ++i)
        samples[i] =
            static_cast<float>(std::pow(10.0, levelDB / 20.0) *
                               std::sin(2.0 * std::numbers::pi * 1000.0 * static_cast<double>(i) / 44100.0));
    return {samples, samples};
}

SoundStatistics statisticsOf(const SoundDocument& document)
{
    SilentProgress progress;
    MaybeError error;
    const auto statistics = SoundStatistics::ofTracks(*document.audioTracks(), document.sampleRate(), 0,
                                                      document.numberOfFrames(), progress, &error);
    EXPECT_TRUE(statistics);
    return *statistics;
}

QVariantMap arguments(double loudness, double ceiling)
{
    return {{QStringLiteral("Loudness"), loudness}, {QStringLiteral("Ceiling"), ceiling}};
}

TEST(NormalizeLoudness, BringsTheWholeToTheTargetBelowTheCeiling)
{
    struct Case {
        double level;
        QVariantMap arguments;
        double loudness;
    };
    const Case cases[] = {
        {-40.0, arguments(-23.0, -1.0), -23.0},
        {-10.0, arguments(-23.0, -1.0), -23.0},
        {-40.0, {}, -23.0},
        {-30.0, arguments(-3.0, -6.0), -6.0}, // the ceiling
    };
    for (const Case& c : cases) {
        kit::TrackSamples in = tones(c.level);
        const auto document = kit::documentOf(in);
        NormalizeLoudness filter(QStringLiteral("Normalize Loudness..."));
        filter.setParameters(c.arguments);
        EXPECT_FALSE(kit::applyTo(document, filter, kit::everythingOf(*document)));
        const SoundStatistics statistics = statisticsOf(*document);
        EXPECT_NEAR(statistics.loudness->integrated, c.loudness, 0.1);
        const auto factor = static_cast<float>(filter.factor());
        for (int32_t track = 0; track < 2; ++track) {
            const FloatBuffer out = kit::samplesOf(*document, track);
            for (size_t i = 0; i < out.size(); ++i)
                ASSERT_EQ(out[i], in[static_cast<size_t>(track)][i] * factor);
        }
    }
}

TEST(NormalizeLoudness, LeavesSilenceAndWhatIsTooShortAndSaysSo)
{
    using Kind = EffectRemark::Kind;
    const std::pair<kit::TrackSamples, Kind> cases[] = {{{FloatBuffer(200000, 0.0F)}, Kind::silent},
                                                        {tones(-30.0, 1), Kind::silent},
                                                        {tones(-30.0, 5000), Kind::noLoudness},
                                                        {tones(-90.0), Kind::noLoudness}};
    for (const auto& [in, kind] : cases) {
        const auto document = kit::documentOf(in);
        const TrackList before = document->audioTracks();
        NormalizeLoudness filter(QStringLiteral("Normalize Loudness..."));
        EXPECT_FALSE(kit::applyTo(document, filter, kit::everythingOf(*document)));
        EXPECT_EQ(document->audioTracks(), before);
        ASSERT_TRUE(filter.remark());
        EXPECT_EQ(filter.remark()->kind, kind);
    }
}

TEST(NormalizeLoudness, MeasuresAnewForAPreviewOnlyWhenTheSoundChanged)
{
    const auto document = kit::documentOf(tones(-40.0));
    NormalizeLoudness filter(QStringLiteral("Normalize Loudness..."));
    filter.setSource(std::make_shared<DocumentSource>(document, kit::everythingOf(*document)));
    EXPECT_FALSE(filter.measureForPreview());
    EXPECT_NEAR(decibelsOfLevel(filter.factor()), 17.0, 0.1);
    filter.setParameterValue(0, -30.0);
    EXPECT_NEAR(decibelsOfLevel(filter.factor()), 10.0, 0.1);
    filter.setParameterValue(1, -36.0);
    EXPECT_NEAR(decibelsOfLevel(filter.factor()), 10.0, 0.1) << "beyond the range of the ceiling";
}

} // namespace
