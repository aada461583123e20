#include "effects/filters/MatchedDesign.h"

#include "effects/filters/ResponseKit.h"

using namespace velloria;

namespace
{

constexpr double kRates[] = {22050.0, 44100.0, 48000.0, 96000.0, 192000.0};

/// The roots of 1 + a/z + b/z^2 lie within the unit circle, or on it.
bool isWithin(double a, double b)
{
    return b <= 1.0 + 1e-9 && std::abs(a) <= 1.0 + b + 1e-9;
}

using Expected = std::function<double(double frequency)>;

void expectMatched(const std::vector<AnalogSection>& sections, double rate, const Expected& expected)
{
    const BiquadFilter filter = MatchedDesign::design(sections, rate);
    for (const Biquad& section : filter.sections) {
        EXPECT_TRUE(isWithin(section.b1, section.b2)) << "minimum phase";
        EXPECT_TRUE(isWithin(section.a1, section.a2)) << "stable";
        EXPECT_LT(section.a2, 1.0);
    }
    for (const double at : kit::probes(rate)) {
        const double wanted = expected(at);
        if (wanted > -140.0) {
            ASSERT_NEAR(20.0 * std::log10(filter.magnitude(at, rate)), wanted, 0.05)
                << at << " Hz of " << rate << " with " << filter.sections.size() << " sections";
        }
    }
}

TEST(MatchedDesign, HasTheAnalogResponseUpToAlmostHalfTheRate)
{
    for (const double rate : kRates) {
        for (const double part : {0.0004, 0.003, 0.02, 0.1, 0.3, 0.4, 0.4499}) {
            const double f = part * rate;
            SCOPED_TRACE(std::to_string(f) + " Hz at " + std::to_string(rate));
            for (const double gain : {-48.0, -18.0, -0.1, 3.0, 18.0, 48.0}) {
                for (const double q : {0.1, 0.7, std::numbers::sqrt2, 20.0})
                    expectMatched({AnalogSection::peak(f, gain, q)}, rate,
                                  [&](double at) { return kit::analogBell(at, f, gain, q); });
                expectMatched({AnalogSection::lowShelf(f, gain)}, rate,
                              [&](double at) { return kit::analogLowShelf(at, f, gain); });
                expectMatched({AnalogSection::highShelf(f, gain)}, rate,
                              [&](double at) { return kit::analogHighShelf(at, f, gain); });
            }
            for (const int order : {2, 4, 6, 8}) {
                expectMatched(AnalogFilters::butterworth(AnalogSection::lowPass, f, order), rate,
                              [&](double at) { return kit::butterworthLowPass(at, f, order); });
                expectMatched(AnalogFilters::butterworth(AnalogSection::highPass, f, order), rate,
                              [&](double at) { return kit::butterworthLowPass(f, at, order); });
            }
        }
    }
}

TEST(MatchedDesign, LeavesOutWhatTheRateHasNoRoomForAndSpendsLittleOnBassNotes)
{
    EXPECT_TRUE(MatchedDesign::design({AnalogSection::peak(10000.0, 6.0, 1.0)}, 22050.0).isUnity());
    EXPECT_TRUE(MatchedDesign::design({}, 44100.0).isUnity());
    EXPECT_EQ(MatchedDesign::design({AnalogSection::peak(60.0, 6.0, 1.4)}, 44100.0).sections.size(), 1U);
    EXPECT_LE(MatchedDesign::design({AnalogSection::peak(16000.0, 6.0, 1.4)}, 44100.0).sections.size(), 4U);
}

} // namespace
