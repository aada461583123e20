#include "measurement/SpectrumSettings.h"

#include <cmath>
#include <numbers>
#include <numeric>

namespace velloria
{

namespace
{

/// Of a sum of cosines; the signs alternate.
std::vector<double> cosineTerms(SpectrumSettings::Window window)
{
    switch (window) {
    case SpectrumSettings::Window::hann:
        return {0.5, 0.5};
    case SpectrumSettings::Window::hamming:
        return {0.54, 0.46};
    case SpectrumSettings::Window::blackmanHarris:
        return {0.35875, 0.48829, 0.14128, 0.01168};
    case SpectrumSettings::Window::flatTop:
        return {1.0, 1.933, 1.286, 0.388, 0.0322};
    case SpectrumSettings::Window::rectangular:
        break;
    }
    return {1.0};
}

} // namespace

std::vector<float> windowWeights(SpectrumSettings::Window window, size_t numFrames)
{
    const std::vector<double> terms = cosineTerms(window);
    std::vector<double> weights(numFrames, 0.0);
    for (size_t i = 0; i < numFrames; ++i) {
        // Half a frame in, so that no frame of a short piece weighs nothing.
        const double angle =
            2.0 * std::numbers::pi * (static_cast<double>(i) + 0.5) / static_cast<double>(numFrames);
        for (size_t term = 0; term < terms.size(); ++term)
            weights[i] +=
                (term % 2 == 0 ? 1.0 : -1.0) * terms[term] * std::cos(static_cast<double>(term) * angle);
    }
    const double sum = std::accumulate(weights.begin(), weights.end(), 0.0);
    std::vector<float> result(numFrames);
    for (size_t i = 0; i < numFrames; ++i)
        result[i] = static_cast<float>(weights[i] / sum);
    return result;
}

} // namespace velloria
