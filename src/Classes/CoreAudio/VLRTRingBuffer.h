#pragma once

#include "Classes/CoreAudio/RingMessages.h"
#include "platform/LockedMemory.h"

#include <atomic>
#include <cstdint>

namespace velloria
{

/// Carries stereo frames from one thread to another: one producer and one consumer at a time, without a lock.
/// The memory is allocated and locked once, at construction. A ring made for F frames holds at most F - 1.
///
/// Each index is written by one side only, after the data it covers (release), and read by the other side
/// before it touches that data (acquire). A stale index only makes a count smaller.
class VLRTRingBuffer
{
public:
    /// Prints a line for less than one frame; such a ring holds nothing.
    explicit VLRTRingBuffer(int32_t numFrames, RingMessages::When when = RingMessages::When::atOnce);

    /// REALTIME. All frames or, when they do not fit, none (reported). Of more than two channels the first
    /// two are taken; one channel goes to both sides. Producer.
    void appendFloats(const float* source, int32_t numFrames, int32_t numChannels);
    /// REALTIME. Interleaved pairs to `destination`, or nowhere when that is null. All frames or, when there
    /// are not so many, none (reported). Consumer.
    void consumeFloats(float* destination, int32_t numFrames);

    /// REALTIME.
    int32_t framesAvailableToAppend() const;
    int32_t framesAvailableToConsume() const;

    int32_t capacityBytes() const { return mCapacityBytes; }
    /// Prints what a ring with RingMessages::When::later refused.
    void printPendingMessages() { mMessages.printPending(); }

protected:
    int32_t numFrames() const { return mCapacityBytes / kBytesPerFrame; }
    int32_t readIndex() const { return mReadIndex.load(std::memory_order_acquire); }
    int32_t writeIndex() const { return mWriteIndex.load(std::memory_order_acquire); }
    float* samples() { return static_cast<float*>(mBuffer.data()); }
    RingMessages& messages() { return mMessages; }
    /// Copies interleaved pairs to the frames from `start` on, wrapping.
    void copyIn(const float* pairs, int32_t start, int32_t numFrames);

    static constexpr int32_t kBytesPerFrame = 8;

private:
    void writeChannels(const float* source, int32_t numFrames, int32_t numChannels);
    void copyOut(float* destination, int32_t numFrames);

    int32_t mCapacityBytes;
    LockedMemory mBuffer;
    RingMessages mMessages;
    // Apart from each other, so that the two threads do not pull one cache line to and fro.
    alignas(64) std::atomic<int32_t> mReadIndex{0};
    alignas(64) std::atomic<int32_t> mWriteIndex{0};
};

} // namespace velloria
