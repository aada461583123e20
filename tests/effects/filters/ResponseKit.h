#pragma once

#include "effects/EffectKit.h"

#include <complex>
#include <numbers>

/// The frequency response of an effect as its output shows it, and that of analogue filters by their
/// formulas.
namespace velloria::kit
{

using Complex = std::complex<double>;

/// The spectrum of samples at one frequency by its definition, in dB.
inline double levelAt(const FloatBuffer& samples, double frequency, double rate)
{
    const Complex turn = std::polar(1.0, -2.0 * std::numbers::pi * frequency / rate);
    Complex sum = 0.0;
    for (size_t i = samples.size(); i-- > 0;)
        sum = sum * turn + static_cast<double>(samples[i]);
    return 20.0 * std::log10(std::abs(sum));
}

inline double levelOf(Complex response)
{
    return 20.0 * std::log10(std::abs(response));
}

/// What a bell, shelf or pass filter has at a frequency, in dB.
inline double analogBell(double at, double center, double gainDB, double q)
{
    const Complex s(0.0, at / center);
    const double a = std::pow(10.0, gainDB / 40.0);
    return levelOf((s * s + s * a / q + 1.0) / (s * s + s / (a * q) + 1.0));
}

inline double analogLowShelf(double at, double corner, double gainDB)
{
    const Complex s(0.0, at / corner);
    const double a = std::pow(10.0, gainDB / 40.0);
    const Complex middle = s * std::sqrt(a) * std::numbers::sqrt2;
    return levelOf(a * (s * s + middle + a) / (a * s * s + middle + 1.0));
}

inline double analogHighShelf(double at, double corner, double gainDB)
{
    return analogLowShelf(corner, at, gainDB);
}

inline double butterworthLowPass(double at, double corner, int order)
{
    return -10.0 * std::log10(1.0 + std::pow(at / corner, 2.0 * order));
}

/// Frequencies up to 0.45 of the rate, more of them near that.
inline std::vector<double> probes(double rate)
{
    std::vector<double> list;
    for (double frequency = 20.0; frequency < 0.4 * rate; frequency *= 1.3)
        list.push_back(frequency);
    for (const double part : {0.4, 0.42, 0.43, 0.44, 0.445, 0.45})
        list.push_back(part * rate);
    return list;
}

/// An impulse that long has rung out.
inline size_t framesOfResponse(double rate)
{
    return static_cast<size_t>(rate * 0.8);
}

/// The effect's response to an impulse at a place, over a sound of as many frames. Half as high as full
/// scale.
inline FloatBuffer impulseResponse(Filter& filter, double rate, size_t place = 0)
{
    FloatBuffer impulse(place + framesOfResponse(rate));
    impulse[place] = 0.5F;
    const auto document = documentOf({impulse});
    document->undoableSetSampleRate(rate);
    EXPECT_FALSE(applyTo(document, filter, everythingOf(*document)));
    FloatBuffer out = samplesOf(*document, 0);
    EXPECT_EQ(out.size(), impulse.size());
    for (float& sample : out)
        sample *= 2.0F;
    return out;
}

} // namespace velloria::kit
