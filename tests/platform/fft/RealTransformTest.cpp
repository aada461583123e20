#include "platform/fft/RealTransform.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <random>

using namespace velloria;

namespace
{

void expectDefinition(size_t size)
{
    std::mt19937 generator(3);
    std::uniform_real_distribution<float> level(-1.0F, 1.0F);
    TransformBuffer frames(size);
    for (float& frame : frames.values())
        frame = level(generator);
    const RealTransform transform(size);
    HalfSpectrum spectrum(size);
    transform.forward(frames, spectrum);
    for (size_t bin = 0; bin <= size / 2; ++bin) {
        double real = 0.0;
        double imaginary = 0.0;
        for (size_t i = 0; i < size; ++i) {
            const double angle =
                2.0 * std::numbers::pi * static_cast<double>(bin * i) / static_cast<double>(size);
            real += frames[i] * std::cos(angle);
            imaginary -= frames[i] * std::sin(angle);
        }
        EXPECT_NEAR(spectrum[bin].real(), real, 1e-4);
        EXPECT_NEAR(spectrum[bin].imag(), imaginary, 1e-4);
    }
    TransformBuffer back(size);
    transform.inverse(spectrum, back);
    for (size_t i = 0; i < size; ++i)
        EXPECT_NEAR(back[i] / static_cast<float>(size), frames[i], 1e-6);
}

TEST(RealTransform, GivesTheSumsOfTheDefinitionAndComesBack)
{
    // Memory that is not where that of the plans was.
    const HalfSpectrum displacing(30);
    for (const size_t size : {2U, 48U, 100U, 1024U})
        expectDefinition(size);
}

} // namespace
