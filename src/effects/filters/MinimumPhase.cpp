#include "effects/filters/MinimumPhase.h"

#include "platform/fft/RealTransform.h"

#include <cmath>
#include <numbers>

namespace velloria
{

std::vector<float> MinimumPhase::impulseResponse(const std::function<double(double)>& decibels, double rate,
                                                 size_t numTaps)
{
    // Twice as long, so that the cepstrum does not run into itself.
    const size_t size = 2 * numTaps;
    const size_t half = size / 2;
    const RealTransform transform(size);
    HalfSpectrum spectrum(size);
    TransformBuffer frames(size);
    for (size_t bin = 0; bin <= half; ++bin) {
        const double frequency = rate * static_cast<double>(bin) / static_cast<double>(size);
        spectrum[bin] = static_cast<float>(decibels(frequency) * std::numbers::ln10 / 20.0);
    }
    transform.inverse(spectrum, frames);
    // What lies before time 0 is folded over: the logarithm of the spectrum becomes causal, and so does its
    // exponential.
    const float scale = 1.0F / static_cast<float>(size);
    for (size_t i = 0; i < size; ++i)
        frames[i] *= i == 0 || i == half ? scale : i < half ? 2.0F * scale : 0.0F;
    transform.forward(frames, spectrum);
    for (HalfSpectrum::Bin& bin : spectrum.bins())
        bin = std::exp(bin);
    transform.inverse(spectrum, frames);
    std::vector<float> taps(frames.values().begin(), frames.values().begin() + std::ptrdiff_t(numTaps));
    // The end fades out, so that a cut tail leaves no ripple.
    const size_t fadeStart = numTaps * 3 / 4;
    for (size_t i = 0; i < numTaps; ++i) {
        const double position =
            i < fadeStart ? 0.0
                          : static_cast<double>(i - fadeStart) / static_cast<double>(numTaps - fadeStart);
        taps[i] *= scale * static_cast<float>(0.5 + 0.5 * std::cos(std::numbers::pi * position));
    }
    return taps;
}

} // namespace velloria
