#include "effects/order/SwapChannels.h"

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

} // namespace velloria
