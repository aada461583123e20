#include "Classes/CoreAudio/RenderedFrames.h"

#include <algorithm>

namespace velloria
{

void RenderedFrames::setWanted(bool isWanted)
{
    if (isWanted && !mRing) {
        mRing = std::make_unique<VLRTRingBuffer>(mNumFramesToHold, RingMessages::When::later);
        // Release: who sees the ring sees it made.
        mShared.store(mRing.get(), std::memory_order_release);
    }
    if (isWanted && !this->isWanted())
        take();
    mIsWanted.store(isWanted, std::memory_order_relaxed);
}

void RenderedFrames::append(const float* pairs, int32_t numFrames) noexcept
{
    if (!mIsWanted.load(std::memory_order_relaxed))
        return;
    if (VLRTRingBuffer* const ring = mShared.load(std::memory_order_acquire))
        ring->appendFloats(pairs, std::min(numFrames, ring->framesAvailableToAppend()), 2);
}

std::span<const float> RenderedFrames::take()
{
    const int32_t count = mRing ? mRing->framesAvailableToConsume() : 0;
    mTaken.resize(2 * static_cast<size_t>(count));
    if (count > 0)
        mRing->consumeFloats(mTaken.data(), count);
    return mTaken;
}

} // namespace velloria
