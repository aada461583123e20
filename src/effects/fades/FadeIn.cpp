#include "effects/fades/FadeIn.h"

namespace velloria
{

void FadeIn::applyRamp(std::span<float> samples, float mark, float length) const
{
    for (size_t i = 0; i < samples.size(); ++i) {
        const float gain = (mark + static_cast<float>(i)) / length;
        samples[i] *= gain;
    }
}

} // namespace velloria
