#pragma once

#include <array>
#include <complex>
#include <vector>

namespace velloria
{

/// A filter of first or second order as analogue electronics has it: a quotient of two polynomials in
/// p = s / (2 pi frequency), lowest power first. It is what a digital filter is measured by.
struct AnalogSection {
    using Polynomial = std::array<double, 3>;

    double frequency = 1000.0; ///< Hz; corner or centre
    Polynomial numerator{1.0, 0.0, 0.0};
    Polynomial denominator{1.0, 0.0, 0.0};

    double magnitude(double atFrequency) const;
    /// Zeros of a polynomial in p.
    static std::vector<std::complex<double>> rootsOf(const Polynomial& polynomial);

    // The forms of R. Bristow-Johnson's "Cookbook formulae for audio equalizer biquad filter coefficients",
    // before their bilinear transform.

    /// A bell that is `gainDB` high at its centre.
    static AnalogSection peak(double frequency, double gainDB, double q);
    /// `gainDB` below the corner, 0 above it, half of it there; as steep as it gets without a bump.
    static AnalogSection lowShelf(double frequency, double gainDB);
    static AnalogSection highShelf(double frequency, double gainDB);
    static AnalogSection lowPass(double frequency, double q);
    static AnalogSection highPass(double frequency, double q);
};

namespace AnalogFilters
{
using Make = AnalogSection (*)(double frequency, double q);
/// A Butterworth filter of an even order as sections of second order: -3.01 dB at the corner, and 6 dB an
/// octave for each order beyond it.
std::vector<AnalogSection> butterworth(Make make, double frequency, int order);

/// In dB, of all sections one after another.
double decibels(const std::vector<AnalogSection>& sections, double atFrequency);
} // namespace AnalogFilters

} // namespace velloria
