#pragma once

#include "Classes/CoreAudio/PeakHolder.h"
#include "Classes/CoreAudio/PlaybackClock.h"
#include "Classes/CoreAudio/RenderedFrames.h"
#include "Classes/CoreAudio/VLRTTimestampingRingBuffer.h"
#include "platform/LockedMemory.h"
#include "platform/hardware/AudioStreams.h"

#include <atomic>

namespace velloria
{

/// What the device's thread sees of a player: the ring, from which it takes frames, and the plain values that
/// it shares with the player. Everything but the constructor and ConsumeTurn is REALTIME.
class PlaybackFeed : public OutputClient
{
public:
    static constexpr int32_t kErrorTooFewBuffers = -50;
    static constexpr int32_t kErrorNotRunning = -39;

    PlaybackFeed(int32_t numFramesInRing, uint32_t maxFramesPerSlice);

    /// The device's thread asks for frames: what the ring holds, louder or softer, then silence.
    int32_t render(float* left, float* right, uint32_t numFrames) noexcept override;
    /// A request of the device was rendered. Of what was taken from here `numFramesInStages` frames, silence
    /// included, are still on their way to the device.
    void noteRequest(int64_t numFramesInStages, double heardFrom, double heardUntil) noexcept;

    VLRTTimestampingRingBuffer ring;

    // Relaxed, all of them: each stands for itself, and one that is seen a block late does no harm.
    std::atomic<bool> running{false};
    std::atomic<bool> sourceExhausted{false};
    std::atomic<float> gain{1.0F};
    std::atomic<int32_t> emptyRenderCount{0};

    /// Frames that the device took from the ring, ever: what was dropped from it does not count, for it is
    /// never heard.
    std::atomic<int64_t> numConsumed{0};

    const PlaybackClock& clock() const { return mClock; }
    PeakHolder& peaks() { return mPeaks; }
    /// What was taken from the ring, before the gain.
    RenderedFrames& rendered() { return mRendered; }
    /// Whether it happened since it was last asked.
    bool takeFillWanted() { return mFillWanted.exchange(false, std::memory_order_relaxed); }
    bool takeStopWanted() { return mStopWanted.exchange(false, std::memory_order_relaxed); }

    /// While it lives the device's thread takes nothing from the ring and renders silence instead: for who
    /// flushes the ring on another thread. Waits for a render call that is under way. Hold it for as short as
    /// possible.
    class ConsumeTurn
    {
    public:
        explicit ConsumeTurn(PlaybackFeed& feed);
        ~ConsumeTurn();
        ConsumeTurn(const ConsumeTurn&) = delete;
        ConsumeTurn& operator=(const ConsumeTurn&) = delete;

        void discardAll();

    private:
        PlaybackFeed& mFeed;
    };

private:
    int32_t consume(int32_t numFrames) noexcept;
    void noteEmpty(int32_t numFrames) noexcept;

    LockedMemory mScratch;
    int32_t mScratchFrames;
    std::atomic<bool> mHasConsumer{false};
    PlaybackClock mClock;
    PeakHolder mPeaks;
    RenderedFrames mRendered;
    // The device's thread's.
    int64_t mNumSilent = 0; ///< frames of silence that were given since the last one from the ring
    bool mIsPastGrace = false;
    std::atomic<bool> mFillWanted{false};
    std::atomic<bool> mStopWanted{false};
};

} // namespace velloria
