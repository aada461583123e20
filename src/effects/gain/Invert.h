#pragma once

#include "effects/frame/Filter.h"

namespace velloria
{

/// Turns the polarity around: every sample x becomes -x.
class Invert : public Filter
{
public:
    explicit Invert(const QString& name)
        : Filter(name)
    {
    }

    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;

protected:
    ComputedClip::Function outputOfTrack(const AudioTrackPtr& track, size_t index) const override;
};

} // namespace velloria
