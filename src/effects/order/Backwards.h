#pragma once

#include "effects/frame/Filter.h"

namespace velloria
{

/// Reverses the selection: takes blocks from its end and reverses each.
class Backwards : public Filter
{
public:
    explicit Backwards(const QString& name)
        : Filter(name)
    {
    }

    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;

protected:
    ComputedClip::Function outputOfTrack(const AudioTrackPtr& track, size_t index) const override;
    MaybeError processSelection(ClipWriter& writer, int64_t numAnalysed, int64_t numInPlace,
                                int64_t numRinging) override;
};

} // namespace velloria
