#include "effects/ReferenceKit.h"
#include "effects/fades/FadeSpecial.h"
#include "platform/Log.h"

#include <numbers>

using namespace velloria;

namespace
{

double levelAt(const std::vector<double>& points, double position)
{
    if (points.size() < 4)
        return 0.0;
    if (position <= points[0])
        return points[1];
    for (size_t k = 2; k + 1 < points.size(); k += 2)
        if (points[k] > position) {
            const double width = points[k] - points[k - 2];
            const double fraction = width == 0.0 ? 0.0 : (position - points[k - 2]) / width;
            return points[k - 1] + (points[k + 1] - points[k - 1]) * fraction;
        }
    return points[points.size() % 2 == 0 ? points.size() - 1 : points.size() - 2];
}

TEST(FadeSpecial, FollowsItsEnvelope)
{
    const std::vector<double> envelopes[] = {
        {0, 1, 1, 1}, {0, 0, 1, 1},       {0.25, 0.5, 0.5, 2, 0.5, 0, 0.75, -1}, {0.5, 1},
        {0, 0, 1},    {0.9, 1, 0.1, 0.5}, {0, 1, 0.3, 0, 0.2, 2, 1, 0.5, 7},
    };
    for (const std::vector<double>& points : envelopes) {
        const auto reference = [&](kit::TrackSamples in, double) {
            for (FloatBuffer& track : in)
                for (size_t i = 0; i < track.size(); ++i) {
                    const float position = static_cast<float>(i) / static_cast<float>(track.size());
                    track[i] = static_cast<float>(track[i] * levelAt(points, static_cast<double>(position)));
                }
            return in;
        };
        kit::expectLike(QStringLiteral("fade special"),
                        {{QStringLiteral("DataPoints"), QVariantList(points.begin(), points.end())}},
                        reference, 1e-6);
    }
}

TEST(FadeSpecial, BeginsAnewWithEachRoundOfALoop)
{
    const auto document = kit::documentOf({FloatBuffer(1000, 1.0F)});
    FadeSpecial filter(QStringLiteral("Fade Special..."));
    filter.parameters().setList(FadeSpecial::kDataPoints, {0, 0, 1, 1});
    filter.setSource(std::make_shared<DocumentSource>(document));
    filter.source()->setLooping(true);
    filter.begin();
    SampleBlock block;
    for (size_t frame = 0; frame < 10000;) {
        ASSERT_TRUE(filter.requestDataWithNumFrames(300, block));
        for (const float sample : block.front())
            ASSERT_NEAR(sample, static_cast<double>(frame++ % 1000) / 1000.0, 1e-6);
    }
}

TEST(FadeSpecial, KeepsItsPointsInPresets)
{
    FadeSpecial filter(QStringLiteral("Fade Special..."));
    filter.parameters().setList(FadeSpecial::kDataPoints, {0, 0.5, 1, 2});
    EXPECT_EQ(filter.presetFolderName(), QStringLiteral("Fade Special"));
    EXPECT_EQ(filter.presetData().toHex(),
              QByteArray("66616465000000c800000000000000003fe00000000000003ff00000000000004000000000000000"));
    const QByteArray record = filter.presetData();
    const LogCapture log;
    EXPECT_TRUE(filter.loadPresetData(record.chopped(1)));
    EXPECT_EQ(log.logged(),
              QStringList(QStringLiteral("-[FadeSpecial loadPresetData:] Invalid preset file")));
    FadeSpecial other(QStringLiteral("Fade Special..."));
    EXPECT_FALSE(other.loadPresetData(record));
    EXPECT_EQ(other.envelope().points()[1].y, 2.0);
}

TEST(Interpolate, BridgesFromTheFirstFrameToTheLastButOne)
{
    for (const size_t numFrames : {2UL, 3UL, 9001UL}) {
        const auto reference = [](const kit::TrackSamples& in, double) {
            kit::TrackSamples out = in;
            for (FloatBuffer& track : out) {
                const double start = track.front();
                const double end = track[track.size() - 2];
                for (size_t i = 0; i < track.size(); ++i) {
                    const double share = 0.5 * std::cos(std::numbers::pi * static_cast<double>(i) /
                                                        static_cast<double>(track.size())) +
                                         0.5;
                    track[i] = static_cast<float>((1.0 - share) * end + share * start);
                }
            }
            return out;
        };
        kit::expectLike(QStringLiteral("interpolate"), {}, reference, 1e-7, numFrames);
    }
}

TEST(Interpolate, OfOneFrameTakesItsNeighbour)
{
    const auto document = kit::documentOf({{0.25F, 0.5F, 0.75F}});
    const auto filter = kit::effectNamed(QStringLiteral("interpolate"));
    EXPECT_FALSE(kit::applyTo(document, *filter, kit::framesOf(*document, 1, 2)));
    EXPECT_EQ(kit::samplesOf(*document, 0), (FloatBuffer{0.25F, 0.5F, 0.75F})) << "it begins at its own";
}

} // namespace
