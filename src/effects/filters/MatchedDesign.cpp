#include "effects/filters/MatchedDesign.h"

#include "effects/filters/FrequencyWarp.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velloria
{

namespace
{

using Root = FrequencyWarp::Root;

/// 1 + first/z + second/z^2
struct Quadratic {
    double first = 0.0;
    double second = 0.0;
};

constexpr double kMostErrorDB = 0.01;
/// Below, a filter lets nothing through that anybody could measure in floats.
constexpr double kSilence = 1e-7;
constexpr int kNumProbes = 64;
/// Imaginary parts up to here come from rounding.
constexpr double kRounding = 1e-9;

double radians(double frequency, double rate)
{
    return 2.0 * std::numbers::pi * frequency / rate;
}

/// The factors of one or two roots that belong to a polynomial with real coefficients.
std::vector<Quadratic> factorsOf(std::vector<Root> roots)
{
    std::vector<Quadratic> factors;
    std::vector<double> realRoots;
    while (!roots.empty()) {
        const Root root = roots.back();
        roots.pop_back();
        const auto isNearer = [&root](Root a, Root b) {
            return std::abs(a - std::conj(root)) < std::abs(b - std::conj(root));
        };
        if (std::abs(root.imag()) <= kRounding || roots.empty()) {
            realRoots.push_back(root.real());
            continue;
        }
        const auto other = std::min_element(roots.begin(), roots.end(), isNearer);
        factors.push_back({-(root + *other).real(), (root * *other).real()});
        roots.erase(other);
    }
    std::sort(realRoots.begin(), realRoots.end());
    for (size_t i = 0; i < realRoots.size(); i += 2) {
        const double other = i + 1 < realRoots.size() ? realRoots[i + 1] : 0.0;
        factors.push_back({-(realRoots[i] + other), realRoots[i] * other});
    }
    // Those near z = 1 first: a numerator then meets the denominator that it all but cancels.
    std::sort(factors.begin(), factors.end(), [](const Quadratic& a, const Quadratic& b) {
        return 1.0 + a.first + a.second < 1.0 + b.first + b.second;
    });
    return factors;
}

std::vector<Quadratic> warped(const AnalogSection::Polynomial& polynomial, size_t degree, double w,
                              const FrequencyWarp& warp)
{
    std::vector<Root> places;
    const std::vector<Root> roots = AnalogSection::rootsOf(polynomial);
    for (const Root root : roots) {
        const std::vector<Root> found = warp.places(-root * root * w * w);
        places.insert(places.end(), found.begin(), found.end());
    }
    for (size_t i = roots.size(); i < degree; ++i) {
        const std::vector<Root> found = warp.placesOfInfinity();
        places.insert(places.end(), found.begin(), found.end());
    }
    return factorsOf(places);
}

BiquadFilter designSection(const AnalogSection& section, double rate, int order)
{
    const double w = radians(section.frequency, rate);
    const FrequencyWarp warp(order, w);
    const size_t degree = std::max(AnalogSection::rootsOf(section.numerator).size(),
                                   AnalogSection::rootsOf(section.denominator).size());
    const std::vector<Quadratic> upper = warped(section.numerator, degree, w, warp);
    const std::vector<Quadratic> lower = warped(section.denominator, degree, w, warp);
    BiquadFilter filter;
    for (size_t i = 0; i < lower.size(); ++i)
        filter.sections.push_back({upper[i].first, upper[i].second, lower[i].first, lower[i].second});
    filter.gain = section.magnitude(section.frequency) / filter.magnitude(section.frequency, rate);
    return filter;
}

/// In dB, the most anywhere up to what is matched.
double errorOf(const BiquadFilter& filter, const AnalogSection& section, double rate)
{
    const double highest = MatchedDesign::kHighest * rate;
    const double lowest = std::min(10.0, section.frequency / 2.0);
    double most = 0.0;
    for (int i = 0; i <= kNumProbes; ++i) {
        const double position = static_cast<double>(i) / kNumProbes;
        // Half of them lie close below the highest, where a design goes wrong first.
        for (const double frequency :
             {lowest * std::pow(highest / lowest, position), highest * (1.0 - 0.5 * position)}) {
            const double wanted = section.magnitude(frequency);
            if (wanted > kSilence)
                most =
                    std::max(most, std::abs(20.0 * std::log10(filter.magnitude(frequency, rate) / wanted)));
        }
    }
    return most;
}

} // namespace

double BiquadFilter::magnitude(double frequency, double rate) const
{
    const Root back = std::polar(1.0, -radians(frequency, rate));
    double product = gain;
    for (const Biquad& section : sections)
        product *= std::abs(1.0 + back * (section.b1 + back * section.b2)) /
                   std::abs(1.0 + back * (section.a1 + back * section.a2));
    return product;
}

BiquadFilter MatchedDesign::design(const std::vector<AnalogSection>& sections, double rate)
{
    BiquadFilter all;
    for (const AnalogSection& section : sections) {
        if (section.frequency > kHighest * rate)
            continue;
        BiquadFilter filter;
        for (int order = 1; order <= FrequencyWarp::kMostOrder; ++order) {
            filter = designSection(section, rate, order);
            if (errorOf(filter, section, rate) <= kMostErrorDB)
                break;
        }
        all.gain *= filter.gain;
        all.sections.insert(all.sections.end(), filter.sections.begin(), filter.sections.end());
    }
    return all;
}

} // namespace velloria
