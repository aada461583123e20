#include "Classes/CoreAudio/PlaybackFeed.h"

#include <algorithm>
#include <cmath>
#include <thread>

namespace velloria
{

namespace
{

constexpr size_t kBytesPerFrame = 2 * sizeof(float);
// So many empty calls are waited for after the end: sound may still come, when a loop is switched on.
constexpr int32_t kEmptyRenderGrace = 5;
// Where the stages are in the sound is known to within so many frames.
constexpr int64_t kStagesMargin = 256;

} // namespace

PlaybackFeed::PlaybackFeed(int32_t numFramesInRing, uint32_t maxFramesPerSlice)
    : ring(numFramesInRing, RingMessages::When::later)
    , mScratch(maxFramesPerSlice * kBytesPerFrame)
    , mScratchFrames(static_cast<int32_t>(mScratch.size() / kBytesPerFrame))
    , mRendered(numFramesInRing)
{
}

int32_t PlaybackFeed::consume(int32_t numFrames) noexcept
{
    // Acquire and release: who flushes sees the ring as this left it, and the other way round.
    if (mHasConsumer.exchange(true, std::memory_order_acquire))
        return -1;
    const int32_t count = std::min({ring.framesAvailableToConsume(), mScratchFrames, numFrames});
    if (count > 0) {
        ring.consumeFloats(static_cast<float*>(mScratch.data()), count);
        numConsumed.fetch_add(count, std::memory_order_relaxed);
    }
    mHasConsumer.store(false, std::memory_order_release);
    return count;
}

void PlaybackFeed::noteEmpty(int32_t numFrames) noexcept
{
    if (numFrames >= 0 && ring.framesAvailableToConsume() == 0)
        mIsPastGrace = emptyRenderCount.fetch_add(1, std::memory_order_relaxed) >= kEmptyRenderGrace;
}

int32_t PlaybackFeed::render(float* left, float* right, uint32_t numFrames) noexcept
{
    if (!left || !right)
        return kErrorTooFewBuffers;
    if (!running.load(std::memory_order_relaxed))
        return kErrorNotRunning;
    const int32_t taken = consume(static_cast<int32_t>(numFrames));
    const auto count = static_cast<uint32_t>(std::max(0, taken));
    const auto* const pairs = static_cast<const float*>(mScratch.data());
    const float factor = gain.load(std::memory_order_relaxed);
    float leftPeak = 0.0F;
    float rightPeak = 0.0F;
    for (uint32_t i = 0; i < count; ++i) {
        const float a = pairs[2 * size_t{i}];
        const float b = pairs[2 * size_t{i} + 1];
        leftPeak = std::max(leftPeak, std::abs(a));
        rightPeak = std::max(rightPeak, std::abs(b));
        left[i] = a * factor;
        right[i] = b * factor;
    }
    mPeaks.raise({leftPeak, rightPeak});
    mRendered.append(pairs, static_cast<int32_t>(count));
    mNumSilent = numFrames - count + (count > 0 ? 0 : mNumSilent);
    mIsPastGrace = false;
    if (!sourceExhausted.load(std::memory_order_relaxed))
        mFillWanted.store(true, std::memory_order_relaxed);
    else
        noteEmpty(taken);
    std::fill(left + count, left + numFrames, 0.0F);
    std::fill(right + count, right + numFrames, 0.0F);
    return 0;
}

void PlaybackFeed::noteRequest(int64_t numFramesInStages, double heardFrom, double heardUntil) noexcept
{
    const int64_t numSounding = std::max<int64_t>(0, numFramesInStages - mNumSilent);
    mClock.add(numConsumed.load(std::memory_order_relaxed) - numSounding, heardFrom, heardUntil);
    // The stages hold more than the calls of the grace draw out of them: the end would be cut off.
    const int64_t numToDraw = numFramesInStages > 0 ? numFramesInStages + kStagesMargin : 0;
    if (mIsPastGrace && mNumSilent >= numToDraw)
        mStopWanted.store(true, std::memory_order_relaxed);
}

PlaybackFeed::ConsumeTurn::ConsumeTurn(PlaybackFeed& feed)
    : mFeed(feed)
{
    // A render call has the turn for the time of one copy.
    while (mFeed.mHasConsumer.exchange(true, std::memory_order_acquire))
        std::this_thread::yield();
}

PlaybackFeed::ConsumeTurn::~ConsumeTurn()
{
    mFeed.mHasConsumer.store(false, std::memory_order_release);
}

void PlaybackFeed::ConsumeTurn::discardAll()
{
    mFeed.ring.consumeFloats(nullptr, mFeed.ring.framesAvailableToConsume());
}

} // namespace velloria
