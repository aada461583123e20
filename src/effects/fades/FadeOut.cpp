#include "effects/fades/FadeOut.h"

namespace velloria
{

void FadeOut::applyRamp(std::span<float> samples, float mark, float length) const
{
    for (size_t i = 0; i < samples.size(); ++i) {
        const float gain = (mark + static_cast<float>(i)) / length;
        samples[i] *= (1.0F - gain);
    }
}

} // namespace velloria
