#include "Classes/CoreAudio/AudioMixer.h"

#include <algorithm>

namespace velloria
{

namespace
{

void addScaled(const FloatBuffer& in, float gain, FloatBuffer& sum)
{
    const size_t count = std::min(in.size(), sum.size());
    for (size_t i = 0; i < count; ++i)
        sum[i] += in[i] * gain;
}

} // namespace

bool AudioMixer::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    const bool hasInput = mSource && mSource->requestDataWithNumFrames(numFrames, mInput) && !mInput.empty();
    if (!hasInput || mInput.size() != mComponents.size()) {
        block.clear();
        return false;
    }
    block.resize(2);
    for (FloatBuffer& buffer : block)
        buffer.assign(mInput.front().size(), 0.0F);
    for (size_t i = 0; i < mInput.size(); ++i) {
        addScaled(mInput[i], static_cast<float>(mComponents[i].leftVolume()), block[0]);
        addScaled(mInput[i], static_cast<float>(mComponents[i].rightVolume()), block[1]);
    }
    return true;
}

} // namespace velloria
