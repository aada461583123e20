#include "effects/filters/GraphicEqualizer.h"

#include "effects/ReferenceKit.h"
#include "effects/filters/FreeCurve.h"
#include "effects/filters/MinimumPhase.h"
#include "effects/filters/ResponseKit.h"

using namespace velloria;

namespace
{

const QVariantList kPoints = {60.0, 12.0, 250.0, -9.0, 1000.0, 3.0, 4000.0, 3.0, 12000.0, -18.0};

TEST(FreeCurve, GoesThroughItsPointsAndStaysBetweenThem)
{
    const std::vector<double> numbers = {1000.0, 6.0, 100.0, -6.0, 4000.0, 6.0, -5.0, 40.0, 100.0, 2.0};
    const FreeCurve curve(numbers);
    EXPECT_EQ(curve.decibelsAt(0.0), 2.0);
    EXPECT_EQ(curve.decibelsAt(20.0), 2.0);
    EXPECT_EQ(curve.decibelsAt(100.0), 2.0) << "the later of two";
    EXPECT_EQ(curve.decibelsAt(1000.0), 6.0);
    EXPECT_EQ(curve.decibelsAt(2000.0), 6.0);
    EXPECT_EQ(curve.decibelsAt(20000.0), 6.0);
    // Level at both ends: half way up in the middle.
    EXPECT_NEAR(curve.decibelsAt(std::sqrt(100.0 * 1000.0)), 4.0, 1e-9);
    double last = 2.0;
    for (double at = 100.0; at < 1000.0; at *= 1.01) {
        EXPECT_GE(curve.decibelsAt(at), last);
        last = curve.decibelsAt(at);
    }
    EXPECT_EQ(FreeCurve(std::vector<double>{100.0, 1e9}).decibelsAt(5.0), FreeCurve::kMostDB);
    EXPECT_TRUE(FreeCurve(std::vector<double>{}).isFlat());
    EXPECT_EQ(FreeCurve(std::vector<double>{}).decibelsAt(5.0), 0.0);
}

TEST(GraphicEqualizer, HasTheResponseOfItsCurveAndNoDelay)
{
    for (const double rate : {22050.0, 44100.0, 96000.0, 192000.0}) {
        const auto filter = kit::effectNamed(QStringLiteral("equalize"));
        filter->setParameters({{QStringLiteral("DataPoints"), kPoints}});
        constexpr size_t place = 5003;
        const FloatBuffer out = kit::impulseResponse(*filter, rate, place);
        for (size_t i = 0; i < place; ++i)
            ASSERT_NEAR(out[i], 0.0F, 1e-5F) << "nothing comes before the sound";
        EXPECT_GT(std::abs(out[place]), 0.1F);
        const auto& response = dynamic_cast<const FrequencyResponse&>(*filter);
        for (const double at : kit::probes(rate))
            EXPECT_NEAR(kit::levelAt(out, at, rate), response.responseAt(at), 0.1) << at << " Hz of " << rate;
    }
}

TEST(GraphicEqualizer, ConvolvesEachTrackByItselfHoweverTheBlocksFall)
{
    const auto convolved = [](const kit::TrackSamples& in, double rate) {
        std::vector<double> numbers;
        for (const QVariant& number : kPoints)
            numbers.push_back(number.toDouble());
        const FreeCurve curve(numbers);
        size_t numTaps = 8 * 256;
        while (static_cast<double>(numTaps) < 8 * 0.03 * rate)
            numTaps *= 2;
        const std::vector<float> taps =
            MinimumPhase::impulseResponse([&](double at) { return curve.decibelsAt(at); }, rate, numTaps);
        kit::TrackSamples out = in;
        for (size_t track = 0; track < in.size(); ++track) {
            for (size_t i = 0; i < in[track].size(); ++i) {
                double sum = 0.0;
                for (size_t tap = 0; tap <= std::min(i, numTaps - 1); ++tap)
                    sum += static_cast<double>(taps[tap]) * in[track][i - tap];
                out[track][i] = static_cast<float>(sum);
            }
        }
        return out;
    };
    kit::expectLike(QStringLiteral("equalize"), {{QStringLiteral("DataPoints"), kPoints}}, convolved, 2e-5,
                    6001);
}

TEST(GraphicEqualizer, FadesToAChangedCurveAtTheNextBlock)
{
    const RealTransform transform(64);
    const std::vector<float> halves = {0.5F};
    const std::vector<float> late = {0.0F, 1.0F};
    BlockConvolver convolver(transform, 1, std::make_shared<const ConvolutionKernel>(halves, transform));
    FloatBuffer samples(200, 1.0F);
    const std::span<float> all(samples);
    convolver.process(all.first(40));
    convolver.setKernel(std::make_shared<const ConvolutionKernel>(late, transform));
    convolver.process(all.subspan(40));
    for (size_t i = 0; i < samples.size(); ++i) {
        const double before = i < 32 ? 0.0 : 0.5;
        const double faded = i < 64    ? 0.0
                             : i >= 96 ? 1.0
                                       : 0.5 - 0.5 * std::cos(std::numbers::pi * (i - 64) / 32.0);
        ASSERT_NEAR(samples[i], before + (1.0 - before) * faded, 1e-5) << i;
    }
}

} // namespace
