#include "Classes/CoreAudio/VLRTTimestampingRingBuffer.h"

#include <new>

namespace velloria
{

static_assert(std::atomic<int64_t>::is_always_lock_free, "the device's thread takes no lock");

VLRTTimestampingRingBuffer::VLRTTimestampingRingBuffer(int32_t numFrames, RingMessages::When when)
    : VLRTRingBuffer(numFrames, when)
    , mSlotCount(VLRTRingBuffer::numFrames() / kSlotFrames)
    , mTimestampMemory(static_cast<size_t>(mSlotCount) * sizeof(std::atomic<int64_t>))
    , mTimestamps(static_cast<std::atomic<int64_t>*>(mTimestampMemory.data()))
{
    if (!mTimestamps)
        mSlotCount = 0;
    for (int32_t slot = 0; slot < mSlotCount; ++slot)
        new (mTimestamps + slot) std::atomic<int64_t>(0);
}

std::atomic<int64_t>* VLRTTimestampingRingBuffer::slotOfFrame(int32_t index)
{
    const int32_t slot = index / kSlotFrames;
    return slot < mSlotCount ? mTimestamps + slot : nullptr;
}

void VLRTTimestampingRingBuffer::appendFloats(const float* source, int32_t count, int32_t numChannels,
                                              int64_t timestamp)
{
    if (std::atomic<int64_t>* const slot = slotOfFrame(writeIndex()))
        slot->store(timestamp, std::memory_order_relaxed);
    VLRTRingBuffer::appendFloats(source, count, numChannels);
}

void VLRTTimestampingRingBuffer::consumeFloats(float* destination, int32_t count)
{
    if (const std::atomic<int64_t>* const slot = slotOfFrame(readIndex()))
        mCurrentTimestamp.store(slot->load(std::memory_order_relaxed), std::memory_order_relaxed);
    VLRTRingBuffer::consumeFloats(destination, count);
}

void VLRTTimestampingRingBuffer::rewriteFloats(const float* pairs, int32_t count, int32_t framesBack,
                                               int64_t timestamp)
{
    if (framesAvailableToConsume() < framesBack) {
        messages().report(RingMessages::refusedRewrite);
        return;
    }
    if (count < 1 || count > numFrames() || framesBack < 0)
        return;
    int32_t start = writeIndex() - framesBack;
    while (start < 0)
        start += numFrames();
    if (std::atomic<int64_t>* const slot = slotOfFrame(writeIndex()))
        slot->store(timestamp, std::memory_order_relaxed);
    copyIn(pairs, start, count);
}

} // namespace velloria
