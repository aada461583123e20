#include "Classes/CoreAudio/VLRTRingBuffer.h"

#include "platform/Log.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace velloria
{

namespace
{

constexpr int32_t kMaxFrames = std::numeric_limits<int32_t>::max() / 8;

int32_t checkedFrames(int32_t numFrames)
{
    if (numFrames < 1)
        printLine(QStringLiteral("VLRTRingBuffer constructor called with invalid number of frames."));
    return std::clamp(numFrames, 0, kMaxFrames);
}

} // namespace

VLRTRingBuffer::VLRTRingBuffer(int32_t numFrames, RingMessages::When when)
    : mCapacityBytes(checkedFrames(numFrames) * kBytesPerFrame)
    , mBuffer(static_cast<size_t>(mCapacityBytes))
    , mMessages(when)
{
    if (!mBuffer.data())
        mCapacityBytes = 0;
}

int32_t VLRTRingBuffer::framesAvailableToAppend() const
{
    const int32_t read = readIndex();
    const int32_t write = writeIndex();
    return write >= read ? numFrames() - 1 - (write - read) : read - write - 1;
}

int32_t VLRTRingBuffer::framesAvailableToConsume() const
{
    const int32_t write = writeIndex();
    const int32_t read = readIndex();
    return write >= read ? write - read : write + numFrames() - read;
}

void VLRTRingBuffer::copyIn(const float* pairs, int32_t start, int32_t count)
{
    const int32_t beforeWrap = std::min(count, numFrames() - start);
    const auto bytes = [](int32_t frames) { return static_cast<size_t>(frames) * kBytesPerFrame; };
    std::memcpy(samples() + 2 * static_cast<ptrdiff_t>(start), pairs, bytes(beforeWrap));
    std::memcpy(samples(), pairs + 2 * static_cast<ptrdiff_t>(beforeWrap), bytes(count - beforeWrap));
}

void VLRTRingBuffer::writeChannels(const float* source, int32_t count, int32_t numChannels)
{
    const ptrdiff_t right = numChannels > 1 ? 1 : 0;
    float* const end = samples() + 2 * static_cast<ptrdiff_t>(numFrames());
    float* out = samples() + 2 * static_cast<ptrdiff_t>(writeIndex());
    for (int32_t k = 0; k < count; ++k) {
        out[0] = source[0];
        out[1] = source[right];
        source += numChannels;
        out += 2;
        if (out == end)
            out = samples();
    }
}

void VLRTRingBuffer::appendFloats(const float* source, int32_t count, int32_t numChannels)
{
    if (framesAvailableToAppend() < count) {
        mMessages.report(RingMessages::refusedAppend);
        return;
    }
    if (count < 1 || numChannels < 1)
        return;
    const int32_t start = writeIndex();
    if (numChannels == 2)
        copyIn(source, start, count);
    else
        writeChannels(source, count, numChannels);
    const int32_t end = start + count;
    mWriteIndex.store(end >= numFrames() ? end - numFrames() : end, std::memory_order_release);
}

void VLRTRingBuffer::copyOut(float* destination, int32_t count)
{
    const int32_t start = readIndex();
    const int32_t beforeWrap = std::min(count, numFrames() - start);
    const auto bytes = [](int32_t frames) { return static_cast<size_t>(frames) * kBytesPerFrame; };
    std::memcpy(destination, samples() + 2 * static_cast<ptrdiff_t>(start), bytes(beforeWrap));
    std::memcpy(destination + 2 * static_cast<ptrdiff_t>(beforeWrap), samples(), bytes(count - beforeWrap));
}

void VLRTRingBuffer::consumeFloats(float* destination, int32_t count)
{
    if (framesAvailableToConsume() < count) {
        mMessages.report(RingMessages::refusedConsume);
        return;
    }
    if (count < 1)
        return;
    if (destination)
        copyOut(destination, count);
    const int32_t end = readIndex() + count;
    mReadIndex.store(end >= numFrames() ? end - numFrames() : end, std::memory_order_release);
}

} // namespace velloria
