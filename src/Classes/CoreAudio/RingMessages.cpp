#include "Classes/CoreAudio/RingMessages.h"

#include "platform/Log.h"

namespace velloria
{

void RingMessages::report(Message message)
{
    // Relaxed: the bits carry no other data.
    mPending.fetch_or(message, std::memory_order_relaxed);
    if (mWhen == When::atOnce)
        printPending();
}

void RingMessages::printPending()
{
    if (mPending.load(std::memory_order_relaxed) == 0)
        return;
    const uint32_t pending = mPending.exchange(0, std::memory_order_relaxed);
    if (pending & refusedAppend)
        printLine(
            QStringLiteral("VLRTRingBuffer::appendFloats() called with more bytes than can be appended."));
    if (pending & refusedConsume)
        printLine(
            QStringLiteral("VLRTRingBuffer::consumeFloats called with more frames than can be consumed."));
    if (pending & refusedRewrite)
        printLine(QStringLiteral("VLRTTimestampingRingBuffer::rewriteFloats() called with more frames than "
                                 "can be rewritten."));
}

} // namespace velloria
