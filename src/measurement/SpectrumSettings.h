#pragma once

#include <cstddef>
#include <vector>

namespace velloria
{

/// How a sound is cut into pieces whose spectra are looked at.
struct SpectrumSettings {
    enum class Window { hann, hamming, blackmanHarris, flatTop, rectangular };

    static constexpr size_t smallestSize = 256;
    static constexpr size_t largestSize = 65536;

    size_t size = 8192; ///< frames of a piece: a power of two
    Window window = Window::hann;

    bool operator==(const SpectrumSettings&) const = default;
};

/// `numFrames` weights, symmetrical about the piece's centre, whose sum is 1. Coefficients: Hamming, Harris
/// (1978, four terms, -92 dB), and the flat top of ISO 18431-2.
std::vector<float> windowWeights(SpectrumSettings::Window window, size_t numFrames);

} // namespace velloria
