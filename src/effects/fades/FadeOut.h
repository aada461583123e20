#pragma once

#include "effects/fades/LinearFade.h"

namespace velloria
{

/// Fades from full volume to silence: the first frame is unchanged, the last is at 1/N.
class FadeOut : public LinearFade
{
public:
    explicit FadeOut(const QString& name)
        : LinearFade(name)
    {
    }

protected:
    void applyRamp(std::span<float> samples, float mark, float length) const override;
};

} // namespace velloria
