#pragma once

#include "effects/frame/Filter.h"

namespace velloria
{

/// What the two linear fades share: a ramp over the selection's N frames, frame i at i/N, computed in single
/// precision.
class LinearFade : public Filter
{
public:
    /// Restarts the ramp. It needs no look-ahead and no repair of the block size, so the base is not asked.
    void processingWillBegin() override;
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;

protected:
    using Filter::Filter;

    /// Multiplies the samples by their gain; `mark` frames were processed before, the ramp has `length`.
    virtual void applyRamp(std::span<float> samples, float mark, float length) const = 0;

private:
    float mMark = 0.0F;
};

} // namespace velloria
