#pragma once

#include "effects/filters/AnalogSection.h"

#include <vector>

namespace velloria
{

/// (1 + b1/z + b2/z^2) / (1 + a1/z + a2/z^2)
struct Biquad {
    double b1 = 0.0;
    double b2 = 0.0;
    double a1 = 0.0;
    double a2 = 0.0;
};

/// A digital filter as sections one after another; without any it is a gain.
struct BiquadFilter {
    double gain = 1.0;
    std::vector<Biquad> sections;

    bool isUnity() const { return sections.empty() && gain == 1.0; }
    double magnitude(double frequency, double rate) const;
};

/// Digital filters of minimum phase whose magnitude is that of an analogue one.
namespace MatchedDesign
{
/// What of the sample rate is matched, and what a filter's corner or centre lies below.
constexpr double kHighest = 0.45;

/// Each section differs from its model by at most 0.01 dB up to kHighest of the rate, in as few biquads as
/// that takes. Sections with a corner beyond are left out.
BiquadFilter design(const std::vector<AnalogSection>& sections, double rate);
} // namespace MatchedDesign

} // namespace velloria
