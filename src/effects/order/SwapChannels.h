#pragma once

#include "effects/frame/Filter.h"

namespace velloria
{

/// Exchanges tracks 0 and 1, 2 and 3, ... of the selection; an odd last one stays.
class SwapChannels : public Filter
{
public:
    explicit SwapChannels(const QString& name)
        : Filter(name)
    {
    }

    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;

protected:
    std::vector<ClipList> rearrangedClips() const override;
};

} // namespace velloria
