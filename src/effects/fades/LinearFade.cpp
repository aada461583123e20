#include "effects/fades/LinearFade.h"

namespace velloria
{

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
        applyRamp(buffer, mMark, static_cast<float>(this->numFrames()));
        // A block is as long as asked for, also where the document ends early.
        buffer.resize(numFrames, 0.0F);
    }
    mMark += static_cast<float>(numFrames);
    return true;
}

} // namespace velloria
