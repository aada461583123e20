#include "effects/delay/Sweep.h"

#include "platform/VectorTarget.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace velloria
{

namespace
{

/// cos(2 pi x) for |x| below 2^50, to the last digits of a double, in a loop that the compiler vectorises:
/// the library's function would take most of an effect's time.
VELLORIA_KERNEL double cosineOfCycles(double x)
{
    // Adding and taking away 1.5 * 2^52 rounds to whole cycles.
    constexpr double kRounder = 6755399441055744.0;
    const double whole = (x + kRounder) - kRounder;
    // The cosine is a sine of what lacks to a quarter cycle, which is at most a quarter.
    const double angle = 2.0 * std::numbers::pi * (0.25 - std::fabs(x - whole));
    const double square = angle * angle;
    // Taylor's series up to the 21st power, whose error is below 3e-16 here.
    double sum = square * (-1.0 / 420.0);
    sum = (1.0 + sum) * (square * (-1.0 / 342.0));
    sum = (1.0 + sum) * (square * (-1.0 / 272.0));
    sum = (1.0 + sum) * (square * (-1.0 / 210.0));
    sum = (1.0 + sum) * (square * (-1.0 / 156.0));
    sum = (1.0 + sum) * (square * (-1.0 / 110.0));
    sum = (1.0 + sum) * (square * (-1.0 / 72.0));
    sum = (1.0 + sum) * (square * (-1.0 / 42.0));
    sum = (1.0 + sum) * (square * (-1.0 / 20.0));
    sum = (1.0 + sum) * (square * (-1.0 / 6.0));
    return angle * (1.0 + sum);
}

struct WayKernel {
    VELLORIA_KERNEL static void run(double* __restrict cosines, double* __restrict sines, size_t count,
                                    double sampleRate, double cyclesPerSecond)
    {
        for (size_t i = 0; i < count; ++i) {
            const double cycles =
                (static_cast<double>(static_cast<int32_t>(i)) / sampleRate) * cyclesPerSecond;
            cosines[i] = cosineOfCycles(cycles);
            sines[i] = cosineOfCycles(cycles - 0.25);
        }
    }
};

struct SineKernel {
    VELLORIA_KERNEL static void run(float* __restrict positions, const double* cosines, const double* sines,
                                    size_t count, double cycles, double baseFrames, double deviationFrames)
    {
        // cos(a + b) = cos a cos b - sin a sin b
        const double cosine = cosineOfCycles(cycles);
        const double sine = cosineOfCycles(cycles - 0.25);
        for (size_t i = 0; i < count; ++i) {
            const double swing = deviationFrames * (cosine * cosines[i] - sine * sines[i]);
            positions[i] = static_cast<float>(-(baseFrames - swing + 1.0));
        }
    }
};

} // namespace

Sweep::Sweep(const Shape& shape)
    : mShape(shape)
    , mCyclesPerSecond(1.0 / shape.secondsPerCycle)
{
    if (shape.isSine)
        runKernel<WayKernel>(mCosines.data(), mSines.data(), mCosines.size(), shape.sampleRate,
                             mCyclesPerSecond);
}

void Sweep::getPositions(double firstFrame, double phase, std::span<float> positions) const
{
    if (mShape.isSine) {
        runKernel<SineKernel>(positions.data(), mCosines.data(), mSines.data(), positions.size(),
                              phase + cyclesUntil(firstFrame), mShape.baseFrames, mShape.deviationFrames);
        return;
    }
    // Named a triangle, heard as a ramp: it rises from 1 to 5 and falls back at once. Its sound is known so.
    for (size_t i = 0; i < positions.size(); ++i) {
        const double cycles = phase + cyclesUntil(static_cast<double>(i) + firstFrame);
        const double level = 2.0 * std::fabs(2.0 * std::fmod(cycles, 1.0) + 1.0) - 1.0;
        positions[i] = static_cast<float>(-(mShape.baseFrames + mShape.deviationFrames * level));
    }
}

} // namespace velloria
