#include "Classes/CoreAudio/VLRTAudioPlayerCore.h"

#include <algorithm>

namespace velloria
{

namespace
{

// What stages and device hold is at most some seconds.
constexpr int64_t kHistoryFrames = int64_t{1} << 20;
// So much is there at once after a cue move or a changed loop, before the fill queue goes on.
constexpr int64_t kReloadFrames = 4096;

int64_t numFramesIn(const std::vector<PlaybackBlock>& blocks)
{
    int64_t sum = 0;
    for (const PlaybackBlock& block : blocks)
        sum += block.numFrames();
    return sum;
}

} // namespace

void VLRTAudioPlayerCore::append(const PlaybackBlock& block, int64_t firstFrame)
{
    const int64_t room = mFeed.ring.framesAvailableToAppend();
    const auto count = static_cast<int32_t>(std::min(block.numFrames() - firstFrame, room));
    const int64_t timestamp = block.timestamp + firstFrame;
    // The history first: who sees the frames in the ring finds them there.
    mHistory.append(timestamp, count, kHistoryFrames);
    mFeed.ring.appendFloats(block.stereoAudioData.data() + 2 * firstFrame, count, 2, timestamp);
    mFeed.sourceExhausted.store(false, std::memory_order_relaxed);
}

/// On the fill queue.
void VLRTAudioPlayerCore::fill()
{
    while (mDelegate && mFeed.ring.framesAvailableToAppend() >= kFillFrames) {
        const PlaybackBlock block = mDelegate->audioDataWithNumberOfFrames(kFillFrames);
        if (block.numFrames() == 0) {
            mFeed.sourceExhausted.store(true, std::memory_order_relaxed);
            return;
        }
        append(block, 0);
    }
}

void VLRTAudioPlayerCore::scheduleFill()
{
    if (mIsFillScheduled.exchange(true))
        return;
    mFillQueue.async(mFillGroup, [this] {
        mIsFillScheduled = false;
        fill();
    });
}

/// What the device's thread would have done if it were allowed to. On the timer's thread.
void VLRTAudioPlayerCore::service()
{
    mFeed.ring.printPendingMessages();
    if (mFeed.takeFillWanted() && mFeed.ring.framesAvailableToAppend() >= kFillFrames)
        scheduleFill();
    if (mFeed.takeStopWanted())
        postToMainThread([this, alive = std::weak_ptr(mIsAlive)] {
            if (alive.lock())
                stopAtEnd();
        });
}

/// False when the delegate has no more.
bool VLRTAudioPlayerCore::fetch(std::vector<PlaybackBlock>& blocks)
{
    const int64_t capacity = mFeed.ring.capacityBytes() / 8 - 1;
    const int64_t wanted = std::min(kReloadFrames, capacity);
    for (int64_t count = 0; count < wanted;) {
        PlaybackBlock block =
            mDelegate->audioDataWithNumberOfFrames(std::min<int64_t>(kFillFrames, wanted - count));
        if (block.numFrames() == 0)
            return false;
        count += block.numFrames();
        blocks.push_back(std::move(block));
    }
    return true;
}

void VLRTAudioPlayerCore::appendStaged(const std::vector<PlaybackBlock>& blocks, int64_t numSkipped)
{
    for (const PlaybackBlock& block : blocks) {
        const int64_t skippedHere = std::min(numSkipped, block.numFrames());
        numSkipped -= skippedHere;
        if (skippedHere < block.numFrames())
            append(block, skippedHere);
    }
}

void VLRTAudioPlayerCore::reload(const std::function<bool(std::optional<int64_t>)>& prepare)
{
    if (!mDelegate)
        return;
    mFillQueue.sync([&] {
        // The new frames are fetched before the old ones are dropped, so that the device finds no gap; it
        // goes on taking old ones meanwhile, which may have to be made up for.
        bool isDone = false;
        while (!isDone) {
            const int64_t consumedBefore = mFeed.numConsumed.load();
            const bool continues = prepare(mHistory.documentFrameAt(consumedBefore));
            std::vector<PlaybackBlock> staged;
            const bool hasMore = fetch(staged);
            mConsumeQueue.sync([&] {
                PlaybackFeed::ConsumeTurn turn(mFeed);
                const int64_t numSkipped = continues ? mFeed.numConsumed.load() - consumedBefore : 0;
                if (hasMore && numSkipped >= numFramesIn(staged))
                    return;
                turn.discardAll();
                if (!continues)
                    mMovedAt = mFeed.numConsumed.load();
                appendStaged(staged, numSkipped);
                if (!hasMore)
                    mFeed.sourceExhausted.store(true, std::memory_order_relaxed);
                isDone = true;
            });
        }
    });
    scheduleFill();
}

} // namespace velloria
