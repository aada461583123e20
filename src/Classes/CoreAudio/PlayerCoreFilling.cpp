#include "Classes/CoreAudio/VLRTAudioPlayerCore.h"

#include <algorithm>

namespace velloria
{

namespace
{

// What stages and device hold is at most some seconds.
constexpr int64_t kHistoryFrames = int64_t{1} << 20;
// So much at least is there at once after a cue move or a changed loop, before the fill queue goes on.
constexpr int64_t kReloadFrames = 4096;
// Beside what the device takes at once: the time for the timer and the fill queue to get their turn.
constexpr double kSpareSeconds = 0.02;
// What a device is taken to ask for at once before its first request.
constexpr double kUsualRequestSeconds = 0.1;

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

/// How much of the ring the device may take at once at a speed, and some to spare.
int64_t VLRTAudioPlayerCore::numFramesForRequest(double speed) const
{
    double seconds = kUsualRequestSeconds;
    if (mStream && mStream->mostFramesAsked() > 0)
        seconds = static_cast<double>(mStream->mostFramesAsked()) / mStream->sampleRate();
    return static_cast<int64_t>((seconds * speed + kSpareSeconds) * mSettings.sampleRate);
}

int64_t VLRTAudioPlayerCore::numFramesToHold() const
{
    return mSettings.buffering == Buffering::brief ? numFramesForRequest(1.0)
                                                   : mFeed.ring.capacityBytes() / 8;
}

/// On the fill queue.
void VLRTAudioPlayerCore::fill(int64_t numFramesToHold)
{
    while (mDelegate && mFeed.ring.framesAvailableToAppend() >= kFillFrames &&
           mFeed.ring.framesAvailableToConsume() < numFramesToHold) {
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
        fill(numFramesToHold());
    });
}

/// What the device's thread would have done if it were allowed to. On the timer's thread.
void VLRTAudioPlayerCore::service()
{
    mFeed.ring.printPendingMessages();
    mChain->tidy();
    if (mFeed.takeFillWanted() && mFeed.ring.framesAvailableToAppend() >= kFillFrames)
        scheduleFill();
    if (mFeed.takeStopWanted())
        postToMainThread([this, alive = std::weak_ptr(mIsAlive)] {
            if (alive.lock())
                stopAtEnd();
        });
}

/// False when the delegate has no more.
bool VLRTAudioPlayerCore::fetch(std::vector<PlaybackBlock>& blocks, int64_t numFrames)
{
    for (int64_t count = 0; count < numFrames;) {
        PlaybackBlock block =
            mDelegate->audioDataWithNumberOfFrames(std::min<int64_t>(kFillFrames, numFrames - count));
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
    const int64_t capacity = mFeed.ring.capacityBytes() / 8 - 1;
    const int64_t forRequest = numFramesForRequest(mSpeeds.tempo * mSpeeds.varispeed);
    const int64_t numFrames = std::min(std::max(kReloadFrames, forRequest), capacity);
    mFillQueue.sync([&] {
        // The new frames are fetched before the old ones are dropped, so that the device finds no gap; it
        // goes on taking old ones meanwhile, which may have to be made up for.
        bool isDone = false;
        while (!isDone) {
            const int64_t consumedBefore = mFeed.numConsumed.load();
            const bool continues = prepare(mHistory.documentFrameAt(consumedBefore));
            std::vector<PlaybackBlock> staged;
            const bool hasMore = fetch(staged, numFrames);
            mConsumeQueue.sync([&] {
                PlaybackFeed::ConsumeTurn turn(mFeed);
                const int64_t numSkipped = continues ? mFeed.numConsumed.load() - consumedBefore : 0;
                if (hasMore && numSkipped >= numFramesIn(staged))
                    return;
                turn.discardAll();
                mHistory.truncate(mFeed.numConsumed.load());
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
