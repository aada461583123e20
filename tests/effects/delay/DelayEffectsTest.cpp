#include "effects/ReferenceKit.h"
#include "effects/delay/CircularInterpolatedBuffer.h"
#include "effects/delay/DelayEcho.h"

#include <numbers>

using namespace velloria;

namespace
{

double factor(double decibels)
{
    return std::pow(10.0, decibels / 20.0);
}

/// By looking back into the whole of input and output.
kit::TrackSamples echoed(const kit::TrackSamples& in, size_t delay, double wetDB, double dryDB,
                         bool isFedBack)
{
    kit::TrackSamples out = in;
    for (size_t track = 0; track < in.size(); ++track) {
        const FloatBuffer& past = isFedBack ? out[track] : in[track];
        for (size_t i = 0; i < in[track].size(); ++i) {
            const double wet = delay > 0 && i >= delay ? past[i - delay] : 0.0F;
            out[track][i] = static_cast<float>(wet * factor(wetDB) + in[track][i] * factor(dryDB));
        }
    }
    return out;
}

QVariantMap delayArguments(double delay, double wet, double dry, int feedback)
{
    return {{QStringLiteral("Delay"), delay},
            {QStringLiteral("Wet"), wet},
            {QStringLiteral("Dry"), dry},
            {QStringLiteral("Feedback"), feedback}};
}

TEST(DelayEcho, RepeatsWhatItHeard)
{
    for (const double delay : {0.0, 1e-6, 0.001, 0.01, 3.0}) {
        for (const int feedback : {0, 1}) {
            const auto reference = [&](const kit::TrackSamples& in, double rate) {
                return echoed(in, static_cast<size_t>(std::ceil(rate * delay)), -3.0, -200.0 * feedback,
                              feedback == 1);
            };
            kit::expectLike(QStringLiteral("add delay"),
                            delayArguments(delay, -3.0, -200.0 * feedback, feedback), reference, 1e-7);
        }
    }
    const auto unnamed = [](const kit::TrackSamples& in, double rate) {
        return echoed(in, static_cast<size_t>(std::ceil(rate * 0.1)), 0.0, 0.0, false);
    };
    kit::expectLike(QStringLiteral("add delay"), {}, unnamed, 1e-7);
}

TEST(DelayEcho, RingsOnUntilTheRepeatsAreSilent)
{
    FloatBuffer impulse(100);
    impulse[0] = 1.0F;
    for (const auto& [wet, feedback, numRepeats] :
         {std::tuple{-20.0, 1, 5}, {-20.0, 0, 1}, {-6.0, 1, 17}, {0.0, 1, 300}, {-0.01, 1, 300}}) {
        const auto document = kit::documentOf({impulse});
        const auto filter = kit::effectNamed(QStringLiteral("add delay"));
        QVariantMap arguments = delayArguments(0.1, wet, 0.0, feedback);
        arguments.insert(QStringLiteral("LetItRing"), 1);
        filter->setParameters(arguments);
        EXPECT_FALSE(kit::applyTo(document, *filter, kit::everythingOf(*document)));
        const FloatBuffer out = kit::samplesOf(*document, 0);
        EXPECT_EQ(std::ssize(out), 100 + 4410 * numRepeats);
        for (size_t i = 0; i < out.size(); ++i) {
            const size_t repeat = i / 4410;
            // What has not become silent within half a minute fades out over the last second.
            const double toGo = static_cast<double>(out.size() - 1 - i) / 44100.0;
            const double fade =
                numRepeats == 300 && toGo < 1.0 ? 0.5 - 0.5 * std::cos(std::numbers::pi * toGo) : 1.0;
            ASSERT_NEAR(out[i], i % 4410 == 0 ? fade * factor(wet * static_cast<double>(repeat)) : 0.0, 1e-6)
                << i;
        }
    }
}

TEST(DelayEcho, AChangedDelayEmptiesTheLinesAndOtherChangesKeepThem)
{
    FloatBuffer samples(6000);
    samples[0] = 1.0F;
    const auto document = kit::documentOf({samples});
    for (const bool isDelayChanged : {false, true}) {
        DelayEcho filter(QStringLiteral("Delay"));
        filter.setSource(std::make_shared<DocumentSource>(document));
        filter.begin();
        SampleBlock block;
        ASSERT_TRUE(filter.requestDataWithNumFrames(4000, block));
        if (isDelayChanged)
            filter.setParameterValue(DelayEcho::delay, 0.05);
        else
            filter.setParameterValue(DelayEcho::wetLevel, -20.0);
        ASSERT_TRUE(filter.requestDataWithNumFrames(2000, block));
        EXPECT_FLOAT_EQ(block[0][410], isDelayChanged ? 0.0F : 0.1F);
        filter.processingFinished();
    }
}

/// A ring as a plain history: slot s of `limit` holds the newest sample whose number is s modulo the limit.
class SlowFlanger
{
public:
    SlowFlanger(double rate, double speed, double delay, double depth, bool isSine, double offset)
        : mRate(rate)
        , mSpeed(speed)
        , mBase((depth * 0.5 + delay) * rate * 0.001)
        , mDeviation(depth * 0.5 * rate * 0.001)
        , mIsSine(isSine)
        , mOffset(offset)
        , mLimit(static_cast<int64_t>(std::ceil(mBase + mDeviation + 1.0)))
    {
    }

    FloatBuffer process(const FloatBuffer& in, size_t track, double wet, double dry) const
    {
        FloatBuffer out = in;
        for (size_t i = 0; i < in.size(); ++i)
            out[i] = static_cast<float>(read(in, static_cast<int64_t>(i), positionOf(i, track)) * wet +
                                        in[i] * dry);
        return out;
    }

private:
    float positionOf(size_t i, size_t track) const
    {
        const double phase =
            mOffset * static_cast<double>(track) + (static_cast<double>(i) / mRate) * (1.0 / mSpeed);
        if (mIsSine)
            return static_cast<float>(-(mBase - mDeviation * std::cos(2.0 * std::numbers::pi * phase) + 1.0));
        const double f = std::fmod(phase, 1.0);
        return static_cast<float>(-(mBase + mDeviation * (2.0 * std::abs(2.0 * f + 1.0) - 1.0)));
    }

    double read(const FloatBuffer& in, int64_t now, float position) const
    {
        const float first = std::ceil(position - 2.75F);
        const float last = std::floor(position - 2.75F + 5.5F);
        double sum = 0.0;
        int64_t k = 0;
        for (float d = first - position; d <= last - position; d += 1.0F) {
            ++k;
            int64_t source = now + static_cast<int64_t>(first) + k;
            while (source >= now)
                source -= mLimit;
            while (source < now - mLimit)
                source += mLimit;
            if (source < 0)
                continue;
            const auto inFilter = static_cast<int>(std::abs(d) * 1023.0F * 0.36363637F);
            const auto inWindow = static_cast<int>(2.0F * std::abs(d) * 0.18181819F * 1023.0F);
            const double x = inFilter * std::numbers::pi / 1023.0;
            const double sinc = inFilter == 0 ? 1.0 / 5.5 : std::sin(x) / (5.5 * x);
            const double w = inWindow / 2046.0 + 0.5;
            const double window = 0.42 - 0.5 * std::cos(2.0 * std::numbers::pi * w) +
                                  0.08 * std::cos(4.0 * std::numbers::pi * w);
            sum += sinc * window * in[static_cast<size_t>(source)];
        }
        return sum;
    }

    double mRate;
    double mSpeed;
    double mBase;
    double mDeviation;
    bool mIsSine;
    double mOffset;
    int64_t mLimit;
};

TEST(FlangerAndChorus, ReadTheirLinesAtASweepingPlace)
{
    struct Case {
        const char* name;
        double speed;
        double delay;
        double depth;
        bool isSine;
    };
    const Case cases[] = {{"flange", 2.0, 10.0, 15.0, true},    {"add chorus", 2.0, 10.0, 15.0, true},
                          {"add chorus", 0.05, 0.0, 0.0, true}, {"flange", 0.001, 0.5, 0.0, true},
                          {"flange", 0.1, 0.5, 3.0, false},     {"add chorus", 1000.0, 50.0, 50.0, false}};
    for (const Case& c : cases) {
        const QString name = QString::fromLatin1(c.name);
        const auto reference = [&](const kit::TrackSamples& in, double rate) {
            const SlowFlanger slow(rate, c.speed, c.delay, c.depth, c.isSine,
                                   name == QLatin1String("flange") ? 0.0 : 0.25);
            kit::TrackSamples out;
            for (size_t track = 0; track < in.size(); ++track)
                out.push_back(slow.process(in[track], track, factor(-6.0), factor(-1.0)));
            return out;
        };
        const QVariantMap arguments = {{QStringLiteral("Speed"), c.speed},
                                       {QStringLiteral("Delay"), c.delay},
                                       {QStringLiteral("Depth"), c.depth},
                                       {QStringLiteral("Wet"), -6.0},
                                       {QStringLiteral("Dry"), -1.0}};
        if (c.isSine)
            kit::expectLike(name, arguments, reference, 1e-6);
        else {
            // Scripts know only the sine.
            kit::TrackSamples in = kit::eightSignals(5000);
            const auto document = kit::documentOf(in);
            const auto filter = kit::effectNamed(name);
            filter->setParameters(arguments);
            filter->setParameterValue(5, 0.0);
            EXPECT_FALSE(kit::applyTo(document, *filter, kit::everythingOf(*document)));
            kit::expectNear(kit::samplesOf(*document), reference(in, 44100.0), 1e-6);
        }
    }
}

TEST(CircularInterpolatedBuffer, WhollyOnAFrameGivesItsNeighboursToo)
{
    CircularInterpolatedBuffer buffer(100);
    for (int i = 0; i < 250; ++i)
        buffer.putFloatValue(i == 240 ? 1.0F : 0.0F);
    // The sample that was put in ten values ago lies at -11.
    EXPECT_FLOAT_EQ(buffer.getFloatValueAtInterpolatedPosition(-11.0F), 1.0F / 5.5F);
    EXPECT_EQ(buffer.getFloatValueAtInterpolatedPosition(-14.5F), 0.0F);
    EXPECT_EQ(CircularInterpolatedBuffer(0).getFloatValueAtInterpolatedPosition(-3.0F), 0.0F);
}

TEST(DelayPresets, AreRecordsOfTheirKind)
{
    struct Case {
        const char* name;
        const char* folder;
        const char* record;
    };
    // Dry 0, wet -6, 100 ms, on; and -3, -3, then speed, delay and depth as floats, the sine.
    const Case cases[] = {
        {"add delay", "Delay", "646c6179000000c80000000000000000c018000000000000405900000000000001"},
        {"flange", "Flanger", "666c616e000000dcc0400000c04000003f8000003f0000003fc0000000000001"},
        {"add chorus", "Chorus",
         "666c616e000000dcc0400000c0400000400000004120000041700000"
         "00000001"}};
    for (const Case& c : cases) {
        const auto filter = kit::effectNamed(QString::fromLatin1(c.name));
        EXPECT_EQ(filter->presetFolderName(), QString::fromLatin1(c.folder));
        EXPECT_EQ(filter->presetData().toHex(), QByteArray(c.record));
    }
    // An old chorus in a flanger: five 64-bit floats and the triangle.
    const auto flanger = kit::effectNamed(QStringLiteral("flange"));
    QByteArray old = QByteArray::fromHex("63686f72000000c8");
    for (const char* value :
         {"bff0000000000000", "c000000000000000", "4008000000000000", "4010000000000000", "4014000000000000"})
        old += QByteArray::fromHex(value);
    EXPECT_TRUE(flanger->loadPresetData(old)) << "cut short";
    EXPECT_FALSE(flanger->loadPresetData(old + QByteArray(4, '\0')));
    const double expected[] = {-1, -2, 3, 4, 5, 0};
    for (size_t i = 0; i < std::size(expected); ++i)
        EXPECT_EQ(flanger->parameterValue(i), expected[i]);
}

} // namespace
