#include "effects/reverb/Reverb.h"
#include "effects/ReferenceKit.h"

using namespace velloria;

namespace
{

constexpr double kCombs[] = {5.0, 5.63, 6.103, 6.892, 7.214, 7.923};

struct Room {
    double size;
    double decay;
    double color;
    double wet;
};

double factor(double decibels)
{
    return std::pow(10.0, decibels / 20.0);
}

/// What a comb gives out, with all of its past at hand.
std::vector<double> combed(const FloatBuffer& in, size_t length, double lowPass, double gain)
{
    std::vector<double> written(in.size());
    std::vector<double> out(in.size());
    for (size_t i = 0; i < in.size(); ++i) {
        const double newest = i > 0 ? written[i - 1] : 0.0;
        out[i] = i >= length ? written[i - length] : 0.0;
        written[i] = in[i] + ((out[i] - newest) * lowPass + newest) * gain;
    }
    return out;
}

FloatBuffer reverberated(const FloatBuffer& in, const Room& room, double rate)
{
    const double wet = factor(room.wet);
    std::vector<double> sum(in.size());
    for (const double base : kCombs) {
        const double loops = room.decay * 1000.0 / (base * room.size) - 1.0;
        const double gain = std::pow(0.001 / wet, loops < 0.01 ? 100.0 : 1.0 / loops);
        const auto length = static_cast<size_t>(std::lround(base * room.size * 0.001 * rate));
        const std::vector<double> out = combed(in, length, std::min(1.0, 2.0 * room.color / rate), gain);
        for (size_t i = 0; i < sum.size(); ++i)
            sum[i] += out[i];
    }
    const auto delay = static_cast<size_t>(rate * 0.006);
    FloatBuffer out = in;
    for (size_t i = delay; i < in.size(); ++i)
        out[i] = static_cast<float>(in[i] + sum[i - delay] * wet);
    return out;
}

kit::Reference referenceOf(const Room& room)
{
    return [=](kit::TrackSamples tracks, double rate) {
        for (FloatBuffer& track : tracks)
            track = reverberated(track, room, rate);
        return tracks;
    };
}

QVariantMap argumentsOf(const Room& room)
{
    return {{QStringLiteral("RoomSize"), room.size},
            {QStringLiteral("Decay"), room.decay},
            {QStringLiteral("Color"), room.color},
            {QStringLiteral("Wet"), room.wet}};
}

TEST(Reverb, IsSixDampedCombsBehindADelay)
{
    const Room rooms[] = {{1.0, 2.0, 12800.0, -20.0},  {0.1, 0.1, 400.0, 0.0},
                          {0.3, 0.02, 20000.0, -12.0}, {2.0, 0.001, 100.0, 6.0},
                          {1.5, 10.0, 3000.0, -59.0},  {0.5, 1000.0, 1e6, -60.0},
                          {10.0, 0.5, 1.0, -3.0},      {0.25, 0.0013, 8000.0, 40.0}};
    for (const Room& room : rooms)
        kit::expectLike(QStringLiteral("reverb"), argumentsOf(room), referenceOf(room), 2e-4);
    kit::expectLike(QStringLiteral("reverb"), {}, referenceOf({10.0, 2.0, 12800.0, -20.0}), 1e-5);
}

TEST(ReverbUnit, HasLinesOfTheRoomsLengths)
{
    ReverbUnit unit(10.0F, 2.0F, 12800.0F, -20.0F, 44100.0F);
    const int32_t expected[] = {2205, 2483, 2691, 3039, 3181, 3494};
    for (size_t comb = 0; comb < ReverbUnit::kNumCombs; ++comb)
        EXPECT_EQ(unit.combLine(comb).numFrames(), expected[comb]);
    EXPECT_EQ(unit.delayLine().numFrames(), 264);
    unit.setRoomSize(20.0F);
    EXPECT_EQ(unit.combLine(0).numFrames(), 4410);
    // At the rate of a slow sensor no line has a place of its own.
    ReverbUnit slow(0.1F, 2.0F, 1.0F, -20.0F, 100.0F);
    FloatBuffer samples(50, 1.0F);
    slow.processData(samples);
    EXPECT_EQ(samples.front(), 1.0F);
}

TEST(Reverb, GoesOnWithItsRoomWhenOtherParametersChange)
{
    FloatBuffer samples(8000);
    samples[0] = 1.0F;
    for (const bool isSizeChanged : {false, true}) {
        const auto document = kit::documentOf({samples});
        Reverb filter(QStringLiteral("Reverb"));
        filter.setSource(std::make_shared<DocumentSource>(document));
        filter.begin();
        SampleBlock block;
        ASSERT_TRUE(filter.requestDataWithNumFrames(2000, block));
        if (isSizeChanged)
            filter.setParameterValue(Reverb::roomSize, 11.0);
        else
            filter.setParameterValue(Reverb::wetLevel, -6.0);
        ASSERT_TRUE(filter.requestDataWithNumFrames(6000, block));
        // The first comb's first return, and the delay.
        EXPECT_NEAR(block[0][2205 + 264 - 2000], isSizeChanged ? 0.0 : factor(-6.0), 1e-6);
        filter.processingFinished();
    }
}

TEST(Reverb, RingsOnUntilTheRoomIsSilent)
{
    FloatBuffer impulse(100);
    impulse[0] = 1.0F;
    for (const Room& room : {Room{2.0, 0.5, 20000.0, -20.0}, Room{10.0, 0.05, 20000.0, 0.0}}) {
        const auto document = kit::documentOf({impulse});
        const auto filter = kit::effectNamed(QStringLiteral("reverb"));
        QVariantMap arguments = argumentsOf(room);
        arguments.insert(QStringLiteral("LetItRing"), 1);
        filter->setParameters(arguments);
        EXPECT_FALSE(kit::applyTo(document, *filter, kit::everythingOf(*document)));
        const FloatBuffer out = kit::samplesOf(*document, 0);
        ASSERT_GT(out.size(), 264U + 5000U);
        EXPECT_LT(out.size(), 10U * 44100U);
        FloatBuffer in = impulse;
        in.resize(out.size());
        kit::expectNear({out}, {reverberated(in, room, 44100.0)}, 1e-5);
        for (size_t i = out.size() - 200; i < out.size(); ++i)
            ASSERT_LT(std::abs(out[i]), 2e-5);
    }
}

TEST(Reverb, EndsLongTailsAndNeverGrows)
{
    const auto document = kit::documentOf({FloatBuffer(44100, 1.0F)});
    Reverb filter(QStringLiteral("Reverb"));
    filter.setParameters(argumentsOf({1.0, 1000.0, 20000.0, -1000.0}));
    EXPECT_EQ(filter.parameterValue(Reverb::wetLevel), -60.0);
    filter.setSource(std::make_shared<DocumentSource>(document));
    EXPECT_EQ(filter.tailTimeNumFrames(), 60 * 44100);
    filter.setParameterValue(Reverb::decay, 0.001);
    filter.begin();
    SampleBlock block;
    ASSERT_TRUE(filter.requestDataWithNumFrames(44100, block));
    EXPECT_LT(block[0].back(), 10.0F);
    filter.processingFinished();
}

TEST(ReverbPresets, AreRecordsOfTheirKind)
{
    const auto filter = kit::effectNamed(QStringLiteral("reverb"));
    EXPECT_EQ(filter->presetFolderName(), QStringLiteral("Reverb"));
    const QByteArray record = QByteArray("72767262000000c84024000000000000409f40000000000040c9000000000000"
                                         "c034000000000000");
    EXPECT_EQ(filter->presetData().toHex(), record);
    EXPECT_TRUE(filter->loadPresetData(QByteArray::fromHex(record).left(39)));
    EXPECT_TRUE(filter->loadPresetData(QByteArray::fromHex(record).replace("rvrb", "dlay")));
    // 500 ms.
    EXPECT_FALSE(filter->loadPresetData(QByteArray::fromHex(QByteArray(record).replace("409f40", "407f40"))));
    EXPECT_EQ(filter->parameterValue(Reverb::decay), 0.5);
}

} // namespace
