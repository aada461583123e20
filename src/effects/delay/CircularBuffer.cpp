#include "effects/delay/CircularBuffer.h"

#include <algorithm>

namespace velloria
{

CircularBuffer::CircularBuffer(int32_t numFrames)
    : mData(static_cast<size_t>(std::max(0, numFrames)))
{
}

float CircularBuffer::getPreviousFloatValue() const
{
    if (mData.empty())
        return 0.0F;
    return mData[static_cast<size_t>(mMark < 1 ? numFrames() - 1 : mMark - 1)];
}

void CircularBuffer::setMark(int32_t mark)
{
    mMark = mark >= 0 && mark < numFrames() ? mark : 0;
}

void CircularBuffer::setNumFrames(int32_t count)
{
    if (count == numFrames())
        return;
    mData.assign(static_cast<size_t>(std::max(0, count)), 0.0F);
    if (mMark >= numFrames())
        mMark = 0;
}

std::span<float> CircularBuffer::run(size_t most)
{
    const auto start = static_cast<size_t>(mMark);
    return std::span(mData).subspan(start, std::min(most, mData.size() - start));
}

} // namespace velloria
