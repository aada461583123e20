#include "effects/Invert.h"

namespace velloria
{

bool Invert::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    for (FloatBuffer& buffer : block)
        for (float& sample : buffer)
            sample = -sample;
    return true;
}

} // namespace velloria
