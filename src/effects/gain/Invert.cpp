#include "effects/gain/Invert.h"

#include <algorithm>
#include <functional>

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

ComputedClip::Function Invert::outputOfTrack(const AudioTrackPtr& track, size_t) const
{
    return [track, start = mSource->loopStart()](int64_t offset, std::span<float> out) {
        track->readSamples(start + offset, out);
        std::transform(out.begin(), out.end(), out.begin(), std::negate<>());
    };
}

} // namespace velloria
