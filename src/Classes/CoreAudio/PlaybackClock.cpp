#include "Classes/CoreAudio/PlaybackClock.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

static_assert(std::atomic<double>::is_always_lock_free, "the device's thread takes no lock");

// What a server tells of its delay trembles by a few milliseconds; more than this is a gap in the sound.
constexpr double kGapSeconds = 0.005;

} // namespace

void PlaybackClock::push(double time, int64_t numFrames) noexcept
{
    const uint64_t count = mCount.load(std::memory_order_relaxed);
    Point& point = mPoints[count % kNumPoints];
    // Release: who sees a point that took the place of an older one also sees the count before it.
    point.time.store(time, std::memory_order_release);
    point.numFrames.store(numFrames, std::memory_order_release);
    mCount.store(count + 1, std::memory_order_release);
    mLastTime = time;
    mLastNumFrames = numFrames;
}

void PlaybackClock::add(int64_t numFrames, double heardFrom, double heardUntil) noexcept
{
    const bool isFirst = mCount.load(std::memory_order_relaxed) == 0;
    if (isFirst || heardFrom > mLastTime + kGapSeconds)
        push(heardFrom, mLastNumFrames);
    push(std::max(heardUntil, mLastTime), std::max(numFrames, mLastNumFrames));
}

int64_t PlaybackClock::lookUp(double time, uint64_t count) const
{
    constexpr uint64_t numReadable = kNumPoints - kNumSpare;
    const uint64_t oldest = count > numReadable ? count - numReadable : 0;
    uint64_t number = count - 1;
    double laterTime = pointAt(number).time.load(std::memory_order_acquire);
    int64_t laterFrames = pointAt(number).numFrames.load(std::memory_order_acquire);
    while (laterTime > time && number > oldest) {
        --number;
        const double earlierTime = pointAt(number).time.load(std::memory_order_acquire);
        const int64_t earlierFrames = pointAt(number).numFrames.load(std::memory_order_acquire);
        if (earlierTime <= time) {
            const double share = (time - earlierTime) / (laterTime - earlierTime);
            const auto numBetween = static_cast<double>(laterFrames - earlierFrames);
            return earlierFrames + std::llround(share * numBetween);
        }
        laterTime = earlierTime;
        laterFrames = earlierFrames;
    }
    return laterFrames;
}

std::optional<int64_t> PlaybackClock::numFramesHeardAt(double time) const
{
    while (true) {
        const uint64_t count = mCount.load(std::memory_order_acquire);
        if (count == 0)
            return std::nullopt;
        const int64_t numFrames = lookUp(time, count);
        if (mCount.load(std::memory_order_acquire) - count < kNumSpare)
            return numFrames;
    }
}

} // namespace velloria
