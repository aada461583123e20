#pragma once

#include "effects/fades/LinearFade.h"

namespace velloria
{

/// Fades from full volume to silence: the first frame is unchanged, the last is at 1/N.
class FadeOut : public LinearFade
{
public:
    explicit FadeOut(const QString& name)
        : LinearFade(name, &applyRamp)
    {
    }

private:
    static void applyRamp(std::span<float> samples, float mark, size_t first, float length);
};

} // namespace velloria
