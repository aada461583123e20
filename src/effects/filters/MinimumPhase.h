#pragma once

#include <functional>
#include <vector>

namespace velloria
{

namespace MinimumPhase
{
/// The impulse response of least delay that has this level in dB over the frequency in Hz, cut to numTaps
/// frames. By the real cepstrum: A. V. Oppenheim and R. W. Schafer, "Discrete-Time Signal Processing",
/// homomorphic processing.
std::vector<float> impulseResponse(const std::function<double(double frequency)>& decibels, double rate,
                                   size_t numTaps);
} // namespace MinimumPhase

} // namespace velloria
