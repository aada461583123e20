#include "effects/ReferenceKit.h"
#include "effects/dynamics/Compressor.h"
#include "platform/UserDefaults.h"

using namespace velloria;

namespace
{

struct Settings {
    bool isRms;
    double threshold;
    double ratio;
    double attack;
    double release;
    double postGain = 0.0;
};

double factor(double decibels)
{
    return std::pow(10.0, decibels / 20.0);
}

/// Sample by sample with the library's logarithms. Level and gain are floats, as the effects are defined.
FloatBuffer compressedOrExpanded(const FloatBuffer& in, const Settings& s, double rate, bool isCompressor)
{
    const double levelFactor = rate / 160.0;
    const double attackFactor = std::max(1.0, s.attack * 0.25 * rate);
    const double releaseFactor = std::max(1.0, s.release * 0.25 * rate);
    FloatBuffer out = in;
    float level = 0.0F;
    float gain = isCompressor ? 1.0F : 0.001F;
    for (float& sample : out) {
        const double x = sample;
        const double heard = s.isRms ? x * x : std::abs(x);
        if (s.isRms || heard < level)
            level = static_cast<float>(level + (heard - level) / levelFactor);
        else
            level = static_cast<float>(heard);
        const auto db = static_cast<float>((s.isRms ? 10.0 : 20.0) * std::log10(static_cast<double>(level)));
        double target = 1.0;
        if (isCompressor && db > s.threshold)
            target = std::pow(10.0, (static_cast<float>(s.threshold + (db - s.threshold) / s.ratio) -
                                     static_cast<double>(db)) /
                                        20.0);
        else if (!isCompressor && db < s.threshold)
            target =
                std::pow(10.0, static_cast<double>(static_cast<float>((db - s.threshold) * s.ratio)) / 20.0);
        const bool isAttack = isCompressor ? target < gain : target >= gain;
        gain = static_cast<float>(gain + (target - gain) / (isAttack ? attackFactor : releaseFactor));
        sample = static_cast<float>(x * gain * factor(s.postGain));
    }
    return out;
}

kit::Reference referenceOf(const Settings& settings, bool isCompressor)
{
    return [=](kit::TrackSamples tracks, double rate) {
        for (FloatBuffer& track : tracks)
            track = compressedOrExpanded(track, settings, rate, isCompressor);
        return tracks;
    };
}

QVariantMap argumentsOf(const Settings& settings)
{
    return {{QStringLiteral("ThresholdRMS"), settings.isRms ? 1 : 0},
            {QStringLiteral("ThresholdDB"), settings.threshold},
            {QStringLiteral("Ratio"), settings.ratio},
            {QStringLiteral("Attack"), settings.attack},
            {QStringLiteral("Release"), settings.release}};
}

const Settings kSettings[] = {{false, -20.0, 15.0, 0.0, 0.2}, {true, -20.0, 15.0, 0.0, 0.2},
                              {false, -6.0, 2.0, 0.01, 0.05}, {true, -30.0, 4.0, 0.005, 0.0},
                              {false, -80.0, 50.0, 1.0, 5.0}, {true, 0.0, 1.0, 0.0, 0.0},
                              {false, 0.0, 1000.0, 0.0, 0.0}, {true, -200.0, 1000.0, 60.0, 60.0}};

TEST(Compressor, LowersWhatIsAboveTheThreshold)
{
    for (Settings settings : kSettings) {
        settings.postGain = -3.0;
        QVariantMap arguments = argumentsOf(settings);
        arguments.insert(QStringLiteral("PostGain"), settings.postGain);
        kit::expectLike(QStringLiteral("compress"), arguments, referenceOf(settings, true), 1e-6);
    }
}

TEST(Expander, LowersWhatIsBelowTheThreshold)
{
    for (const Settings& settings : kSettings)
        kit::expectLike(QStringLiteral("expand"), argumentsOf(settings), referenceOf(settings, false), 1e-6);
}

TEST(NoiseGate, IsAnExpanderWithASteepRatio)
{
    for (Settings settings : {kSettings[0], kSettings[1], Settings{false, -1.0, 0.0, 0.001, 0.01}}) {
        settings.ratio = 25.0;
        QVariantMap arguments = argumentsOf(settings);
        arguments.remove(QStringLiteral("Ratio"));
        kit::expectLike(QStringLiteral("noise gate"), arguments, referenceOf(settings, false), 1e-6);
    }
}

TEST(Dynamics, TakeTheirDefaultsFromScriptsThatNameNothing)
{
    const Settings compressor = {false, -20.0, 15.0, 0.0, 0.2, -4.0 + 20.0 * 14.0 / 15.0};
    kit::expectLike(QStringLiteral("compress"), {}, referenceOf(compressor, true), 5e-6);
    kit::expectLike(QStringLiteral("compress"), {{QStringLiteral("PostGain"), -9999.0}},
                    referenceOf(compressor, true), 5e-6);
    kit::expectLike(QStringLiteral("expand"), {}, referenceOf({false, -20.0, 5.0, 0.02, 0.2}, false), 1e-6);
    kit::expectLike(QStringLiteral("noise gate"), {}, referenceOf({false, -20.0, 25.0, 0.02, 0.2}, false),
                    1e-6);
}

TEST(Dynamics, TellHowFarTheGainGoesDown)
{
    FloatBuffer samples(20000, 1.0F);
    std::fill(samples.begin() + 10000, samples.end(), 0.01F);
    const auto document = kit::documentOf({samples, FloatBuffer(20000)});
    Compressor filter(QStringLiteral("Compressor"));
    filter.setParameterValue(Compressor::threshold, -12.0);
    filter.setParameterValue(Compressor::ratio, 2.0);
    filter.setParameterValue(Compressor::release, 0.01);
    filter.setSource(std::make_shared<DocumentSource>(document));
    filter.begin();
    SampleBlock block;
    ASSERT_TRUE(filter.requestDataWithNumFrames(10000, block));
    EXPECT_NEAR(filter.takeLowestGain(), factor(-6.0), 1e-5);
    ASSERT_TRUE(filter.requestDataWithNumFrames(8000, block));
    filter.takeLowestGain();
    ASSERT_TRUE(filter.requestDataWithNumFrames(2000, block));
    EXPECT_NEAR(filter.takeLowestGain(), 1.0, 1e-3) << "the second half is soft";
    filter.processingFinished();
}

TEST(Compressor, LetsThePostGainFollowWhatAPersonMoves)
{
    Compressor filter(QStringLiteral("Compressor"));
    EXPECT_EQ(filter.parameterValue(Compressor::automatic), 1.0);
    EXPECT_EQ(filter.parameterValue(Compressor::postGain), 0.0) << "nothing was moved yet";
    filter.editParameter(Compressor::release, 0.1);
    EXPECT_EQ(filter.parameterValue(Compressor::postGain), 0.0);
    filter.editParameter(Compressor::ratio, 5.0);
    EXPECT_EQ(filter.parameterValue(Compressor::postGain), 12.0);
    filter.editParameter(Compressor::rms, 1.0);
    EXPECT_EQ(filter.parameterValue(Compressor::postGain), 8.0);
    filter.editParameter(Compressor::postGain, 3.0);
    EXPECT_EQ(filter.parameterValue(Compressor::automatic), 0.0);
    filter.editParameter(Compressor::threshold, -40.0);
    EXPECT_EQ(filter.parameterValue(Compressor::postGain), 3.0);
    filter.editParameter(Compressor::automatic, 1.0);
    EXPECT_EQ(filter.parameterValue(Compressor::postGain), 24.0);
}

TEST(Compressor, KeepsItsPostGainInSettings)
{
    Compressor kept(QStringLiteral("Compressor"));
    kept.editParameter(Compressor::threshold, -30.0);
    kept.setParameterValue(Compressor::postGain, 1.5);
    kept.saveDefaults();
    Compressor next(QStringLiteral("Compressor"));
    next.loadDefaults();
    EXPECT_EQ(next.parameterValue(Compressor::automatic), 1.0);
    EXPECT_EQ(next.parameterValue(Compressor::postGain), 1.5);
    UserDefaults::standard().setValue(QStringLiteral("filter.compressor.postGainAutomatic"), 0);
    next.loadDefaults();
    EXPECT_EQ(next.parameterValue(Compressor::automatic), 0.0);
    for (const ParameterDescription& parameter : next.parameters().descriptions())
        UserDefaults::standard().removeValue(parameter.settingsKey);
}

TEST(DynamicsPresets, AreRecordsOfTheirKind)
{
    struct Case {
        const char* name;
        const char* folder;
        const char* record;
    };
    // Threshold -20; attack and release in milliseconds; ratio and post gain where there are some; toggles.
    const Case cases[] = {
        {"compress", "Compressor",
         "636f6d70000000c8c03400000000000000000000000000004069000000000000"
         "402e00000000000000000000000000000100"},
        {"expand", "Expander",
         "6578706e000000c8c034000000000000403400000000000040690000000000004014000000000000"
         "00"},
        {"noise gate", "Noise Gate", "6e6f6973000000c8c0340000000000004034000000000000406900000000000000"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto filter = kit::effectNamed(QString::fromLatin1(c.name));
        EXPECT_EQ(filter->presetFolderName(), QString::fromLatin1(c.folder));
        EXPECT_EQ(filter->presetData().toHex(), QByteArray(c.record));
    }
    Compressor filter(QStringLiteral("Compressor"));
    const QByteArray record =
        QByteArray::fromHex("636f6d70000000c8c03e000000000000405900000000000040790000000000"
                            "0040100000000000004000000000000000"
                            "0101");
    EXPECT_FALSE(filter.loadPresetData(record));
    const double expected[] = {-30.0, 4.0, 0.1, 0.4, 1.0, 2.0, 1.0};
    for (size_t i = 0; i < std::size(expected); ++i)
        EXPECT_EQ(filter.parameterValue(i), expected[i]) << i;
    EXPECT_TRUE(filter.loadPresetData(QByteArray(record).replace("comp", "expn")));
}

} // namespace
