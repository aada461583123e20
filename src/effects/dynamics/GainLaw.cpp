#include "effects/dynamics/GainLaw.h"

#include "platform/VectorTarget.h"

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>

namespace velloria
{

namespace
{

/// With the factor of the highest power first.
template <typename... Factors> VELLORIA_KERNEL double polynomial(double x, double highest, Factors... others)
{
    double sum = highest;
    ((sum = sum * x + others), ...);
    return sum;
}

/// log10 of a positive value that is no denormal.
VELLORIA_KERNEL double decadesOf(float value)
{
    // Into a power of two and a rest between the root of a half and that of two.
    constexpr int32_t kRootOfHalf = 0x3f3504f3;
    const auto bits = std::bit_cast<int32_t>(value);
    const int32_t exponent = (bits - kRootOfHalf) >> 23;
    const double rest = static_cast<double>(std::bit_cast<float>(bits - (exponent << 23)));
    // ln(rest) = 2 artanh((rest - 1) / (rest + 1)), by its series: the next term is below 1e-13.
    const double ratio = (rest - 1.0) / (rest + 1.0);
    const double square = ratio * ratio;
    const double sum = polynomial(square, 1.0 / 15.0, 1.0 / 13.0, 1.0 / 11.0, 1.0 / 9.0, 1.0 / 7.0, 1.0 / 5.0,
                                  1.0 / 3.0, 1.0);
    constexpr double kDecadesPerOctave = 0.30102999566398119521;
    return static_cast<double>(exponent) * kDecadesPerOctave + (2.0 / std::numbers::ln10) * ratio * sum;
}

/// 10^(decibels / 20), for no more than 0 dB; 0 below -720 dB.
VELLORIA_KERNEL float factorOf(double decibels)
{
    constexpr double kOctavesPerDecibel = 0.16609640474436811739;
    // Adding 1.5 * 2^52 leaves the nearest whole number in the last bits.
    constexpr double kRounder = 6755399441055744.0;
    constexpr double kFewestOctaves = -120.0;
    const double octaves = decibels * kOctavesPerDecibel;
    const double kept = octaves > kFewestOctaves ? octaves : kFewestOctaves;
    const double shifted = kept + kRounder;
    const double x = (kept - (shifted - kRounder)) * std::numbers::ln2;
    // The exponential's series: the next term is below 1e-11.
    const double sum = polynomial(x, 1.0 / 362880.0, 1.0 / 40320.0, 1.0 / 5040.0, 1.0 / 720.0, 1.0 / 120.0,
                                  1.0 / 24.0, 1.0 / 6.0, 0.5, 1.0, 1.0);
    const double power = std::bit_cast<double>((std::bit_cast<uint64_t>(shifted) + 1023U) << 52U);
    return octaves > kFewestOctaves ? static_cast<float>(sum * power) : 0.0F;
}

VELLORIA_KERNEL float decibelsOf(float value, double decibelsPerDecade)
{
    // What is smaller counts as silence, and lies below every threshold.
    const auto level = static_cast<float>(decibelsPerDecade * decadesOf(value));
    return value < FLT_MIN ? -std::numeric_limits<float>::infinity() : level;
}

struct CompressKernel {
    VELLORIA_KERNEL static void run(float* values, size_t count, GainLaw law)
    {
        const double slope = 1.0 / law.ratio;
        for (size_t i = 0; i < count; ++i) {
            const double level = static_cast<double>(decibelsOf(values[i], law.decibelsPerDecade));
            const auto lowered = static_cast<float>(law.thresholdDB + (level - law.thresholdDB) * slope);
            const float factor = factorOf(static_cast<double>(lowered) - level);
            values[i] = level > law.thresholdDB ? factor : 1.0F;
        }
    }
};

struct ExpandKernel {
    VELLORIA_KERNEL static void run(float* values, size_t count, GainLaw law)
    {
        for (size_t i = 0; i < count; ++i) {
            const double level = static_cast<double>(decibelsOf(values[i], law.decibelsPerDecade));
            // By the ratio itself, not by the ratio less one: that makes a gate close hard.
            const auto gain = static_cast<float>((level - law.thresholdDB) * law.ratio);
            const float factor = factorOf(static_cast<double>(gain));
            values[i] = level < law.thresholdDB ? factor : 1.0F;
        }
    }
};

} // namespace

void GainLaw::compress(std::span<float> values) const
{
    runKernel<CompressKernel>(values.data(), values.size(), *this);
}

void GainLaw::expand(std::span<float> values) const
{
    runKernel<ExpandKernel>(values.data(), values.size(), *this);
}

} // namespace velloria
