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
    MaybeError apply() override;

protected:
    ComputedClip::Function outputOfTrack(const AudioTrackPtr& track, size_t index) const override;

private:
    MaybeError processFromEnd(ClipWriter& writer, int64_t offset, int64_t total);
};

} // namespace velloria
