#include "effects/fades/FadeIn.h"

namespace velloria
{

void FadeIn::applyRamp(std::span<float> samples, float mark, size_t first, float length)
{
    // In 32 bits, which the compiler makes vectors of.
    const auto from = static_cast<int32_t>(first);
    for (size_t i = 0; i < samples.size(); ++i) {
        const float gain = (mark + static_cast<float>(from + static_cast<int32_t>(i))) / length;
        samples[i] *= gain;
    }
}

} // namespace velloria
