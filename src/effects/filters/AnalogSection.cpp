#include "effects/filters/AnalogSection.h"

#include <cmath>
#include <numbers>

namespace velloria
{

namespace
{

double magnitudeOf(const AnalogSection::Polynomial& polynomial, double w)
{
    return std::hypot(polynomial[0] - polynomial[2] * w * w, polynomial[1] * w);
}

/// Of the gain in the middle of a bell's or shelf's slope.
double amplitude(double gainDB)
{
    return std::pow(10.0, gainDB / 40.0);
}

} // namespace

double AnalogSection::magnitude(double atFrequency) const
{
    const double w = atFrequency / frequency;
    return magnitudeOf(numerator, w) / magnitudeOf(denominator, w);
}

std::vector<std::complex<double>> AnalogSection::rootsOf(const Polynomial& polynomial)
{
    const auto& [c, b, a] = polynomial;
    if (a == 0.0)
        return b == 0.0 ? std::vector<std::complex<double>>{}
                        : std::vector<std::complex<double>>{{-c / b, 0.0}};
    const std::complex<double> root = std::sqrt(std::complex<double>(b * b - 4.0 * a * c, 0.0));
    return {(-b + root) / (2.0 * a), (-b - root) / (2.0 * a)};
}

AnalogSection AnalogSection::peak(double frequency, double gainDB, double q)
{
    const double a = amplitude(gainDB);
    return {frequency, {1.0, a / q, 1.0}, {1.0, 1.0 / (a * q), 1.0}};
}

AnalogSection AnalogSection::lowShelf(double frequency, double gainDB)
{
    const double a = amplitude(gainDB);
    const double middle = std::sqrt(2.0 * a);
    return {frequency, {a * a, a * middle, a}, {1.0, middle, a}};
}

AnalogSection AnalogSection::highShelf(double frequency, double gainDB)
{
    const double a = amplitude(gainDB);
    const double middle = std::sqrt(2.0 * a);
    return {frequency, {a, a * middle, a * a}, {a, middle, 1.0}};
}

AnalogSection AnalogSection::lowPass(double frequency, double q)
{
    return {frequency, {1.0, 0.0, 0.0}, {1.0, 1.0 / q, 1.0}};
}

AnalogSection AnalogSection::highPass(double frequency, double q)
{
    return {frequency, {0.0, 0.0, 1.0}, {1.0, 1.0 / q, 1.0}};
}

std::vector<AnalogSection> AnalogFilters::butterworth(Make make, double frequency, int order)
{
    std::vector<AnalogSection> sections;
    for (int i = 0; i < order / 2; ++i) {
        const double angle = std::numbers::pi * (2 * i + 1) / (2.0 * order);
        sections.push_back(make(frequency, 1.0 / (2.0 * std::cos(angle))));
    }
    return sections;
}

double AnalogFilters::decibels(const std::vector<AnalogSection>& sections, double atFrequency)
{
    double sum = 0.0;
    for (const AnalogSection& section : sections)
        sum += 20.0 * std::log10(section.magnitude(atFrequency));
    return sum;
}

} // namespace velloria
