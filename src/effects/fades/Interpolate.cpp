#include "effects/fades/Interpolate.h"

#include "platform/Log.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velloria
{

void Interpolate::readLevels()
{
    mStartLevels.clear();
    mEndLevels.clear();
    SampleBlock frame;
    if (!mSource->requestDataWithNumFrames(1, frame)) {
        logLine(QStringLiteral("-[Interpolate processingWillBegin] data==nil"));
        return;
    }
    for (const FloatBuffer& buffer : frame)
        mStartLevels.push_back(buffer.front());
    // The last frame but one: the bridge arrives there one frame after its end.
    mSource->setMark(mSource->loopStart() + numFrames() - 2);
    if (!mSource->requestDataWithNumFrames(1, frame) || frame.size() != mStartLevels.size()) {
        logLine(QStringLiteral("-[Interpolate processingWillBegin] array==nil"));
        mStartLevels.clear();
        return;
    }
    for (const FloatBuffer& buffer : frame)
        mEndLevels.push_back(buffer.front());
}

void Interpolate::processingWillBegin()
{
    mSource->setMark(mSource->loopStart());
    readLevels();
    mSource->setMark(mSource->loopStart());
    mMark = 0.0;
    mLength = static_cast<double>(numFrames());
}

bool Interpolate::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    mShares.resize(block.front().size());
    for (size_t i = 0; i < mShares.size(); ++i)
        mShares[i] = 0.5 * std::cos(std::numbers::pi * (mMark + static_cast<double>(i)) / mLength) + 0.5;
    for (size_t track = 0; track < std::min(block.size(), mStartLevels.size()); ++track) {
        const double start = mStartLevels[track];
        const double end = mEndLevels[track];
        for (size_t i = 0; i < block[track].size(); ++i)
            block[track][i] = static_cast<float>((1.0 - mShares[i]) * end + mShares[i] * start);
    }
    mMark += static_cast<double>(block.back().size());
    return true;
}

} // namespace velloria
