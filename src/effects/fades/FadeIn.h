#pragma once

#include "effects/fades/LinearFade.h"

namespace velloria
{

/// Fades from silence to full volume: the first frame is 0, the last (N - 1)/N.
class FadeIn : public LinearFade
{
public:
    explicit FadeIn(const QString& name)
        : LinearFade(name, &applyRamp)
    {
    }

private:
    static void applyRamp(std::span<float> samples, float mark, size_t first, float length);
};

} // namespace velloria
