#include "effects/fades/LinearFade.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr int64_t kRunNumFrames = 4096;

} // namespace

void LinearFade::processingWillBegin()
{
    mMark = 0.0F;
    mSource->setMark(mSource->loopStart());
}

bool LinearFade::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    for (FloatBuffer& buffer : block) {
        mRamp(buffer, mMark, 0, static_cast<float>(this->numFrames()));
        // A block is as long as asked for, also where the document ends early.
        buffer.resize(numFrames, 0.0F);
    }
    mMark += static_cast<float>(numFrames);
    return true;
}

ComputedClip::Function LinearFade::outputOfTrack(const AudioTrackPtr& track, size_t) const
{
    const auto length = static_cast<float>(numFrames());
    return [track, length, ramp = mRamp, start = mSource->loopStart()](int64_t offset, std::span<float> out) {
        track->readSamples(start + offset, out);
        while (!out.empty()) {
            // A mark that single precision holds, as those of blocks are: a frame's gain hangs on its number
            // alone.
            const int64_t first = offset % kRunNumFrames;
            const auto count = std::min(out.size(), static_cast<size_t>(kRunNumFrames - first));
            ramp(out.first(count), static_cast<float>(offset - first), static_cast<size_t>(first), length);
            out = out.subspan(count);
            offset += static_cast<int64_t>(count);
        }
    };
}

} // namespace velloria
