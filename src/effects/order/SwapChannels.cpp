#include "effects/order/SwapChannels.h"

#include <utility>

namespace velloria
{

bool SwapChannels::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    for (size_t lower = 0; lower + 1 < block.size(); lower += 2)
        block[lower].swap(block[lower + 1]);
    return true;
}

/// What is only moved needs no arithmetic: integers of 32 bits, which a float cannot hold, stay exact.
std::vector<ClipList> SwapChannels::rearrangedClips() const
{
    std::vector<ClipList> clips = selectedClips();
    for (size_t lower = 0; lower + 1 < clips.size(); lower += 2)
        std::swap(clips[lower], clips[lower + 1]);
    return clips;
}

} // namespace velloria
