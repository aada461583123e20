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
    /// Multiplies the samples by their gain: sample i is frame mark + first + i of a ramp of `length`.
    using Ramp = void (*)(std::span<float> samples, float mark, size_t first, float length);

    LinearFade(const QString& name, Ramp ramp)
        : Filter(name)
        , mRamp(ramp)
    {
    }

    ComputedClip::Function outputOfTrack(const AudioTrackPtr& track, size_t index) const override;

private:
    const Ramp mRamp;
    float mMark = 0.0F;
};

} // namespace velloria
