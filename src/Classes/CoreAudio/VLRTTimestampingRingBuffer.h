#pragma once

#include "Classes/CoreAudio/VLRTRingBuffer.h"

namespace velloria
{

/// A ring that also carries one time stamp per slot of 512 frames, so that the consumer can tell where in its
/// document the frames come from. Producers append in blocks of 512 frames that start where a slot does;
/// after a shorter block a stamp is up to one slot off.
class VLRTTimestampingRingBuffer : public VLRTRingBuffer
{
public:
    static constexpr int32_t kSlotFrames = 512;

    explicit VLRTTimestampingRingBuffer(int32_t numFrames,
                                        RingMessages::When when = RingMessages::When::atOnce);

    /// REALTIME. Stamps the slot that the write index is in, even when the frames are then refused.
    void appendFloats(const float* source, int32_t numFrames, int32_t numChannels, int64_t timestamp);
    /// REALTIME. Takes the stamp of the slot that the read index is in, even when the frames are refused.
    void consumeFloats(float* destination, int32_t numFrames);
    /// Overwrites frames of which the first was appended `framesBack` frames ago and none is consumed yet;
    /// both sides must be at rest. The stamp goes to the slot of the write index.
    void rewriteFloats(const float* pairs, int32_t numFrames, int32_t framesBack, int64_t timestamp);

    /// The stamp of the slot that was last read from; -1 before the first time. Any thread.
    int64_t currentTimestamp() const { return mCurrentTimestamp.load(std::memory_order_relaxed); }

private:
    std::atomic<int64_t>* slotOfFrame(int32_t index);

    int32_t mSlotCount;
    LockedMemory mTimestampMemory;
    // Relaxed: a full ring's write index may be in the slot that is being read, and then either stamp will
    // do.
    std::atomic<int64_t>* mTimestamps;
    std::atomic<int64_t> mCurrentTimestamp{-1};
};

} // namespace velloria
