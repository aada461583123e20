#pragma once

#include "Classes/CoreAudio/PlaybackBlock.h"
#include "Classes/CoreAudio/PlaybackChain.h"
#include "Classes/CoreAudio/PlaybackFeed.h"
#include "Classes/CoreAudio/PlaybackHistory.h"
#include "platform/DispatchQueue.h"
#include "platform/PeriodicTimer.h"
#include "platform/hardware/AudioHardware.h"

namespace velloria
{

/// Who gives a player core its frames and hears of its end.
class PlayerCoreDelegate
{
public:
    /// Up to numFrames frames, none at the end. On the core's fill queue.
    virtual PlaybackBlock audioDataWithNumberOfFrames(int64_t numFrames) = 0;
    /// The device stands still and no frame is asked for any more. Main thread.
    virtual void audioPlaybackDidStop(StopReason reason) = 0;

protected:
    ~PlayerCoreDelegate() = default;
};

/// How much lies between a delegate and the ear.
enum class Buffering {
    ample, ///< a full ring, so that the program may stall
    brief  ///< little, so that a change is heard soon; for speed 1
};

/// Plays frames on a device: a ring that is filled on one serial queue and emptied by the device's thread,
/// through the stages for tempo and rate. Made, used and destroyed on the main thread. The device's thread
/// only sets atomics; a timer, which exists while the device runs, looks at them and starts the fills.
class VLRTAudioPlayerCore
{
public:
    struct Settings {
        int32_t numFramesInRing = 0;
        uint32_t device = 0;
        int32_t leftChannel = 0;
        int32_t rightChannel = 1;
        double sampleRate = 0.0; ///< of the frames that the delegate gives
        Buffering buffering = Buffering::ample;
        StoppedHandler didStop; ///< told where there is no delegate
        QString streamName;
    };

    /// A failure shows in start(). A rate of 0 is logged; such a core plays nothing. The delegate may be
    /// null.
    VLRTAudioPlayerCore(const Settings& settings, PlayerCoreDelegate* delegate);
    /// Waits for the fills under way; stops the device without telling the delegate.
    ~VLRTAudioPlayerCore();
    VLRTAudioPlayerCore(const VLRTAudioPlayerCore&) = delete;
    VLRTAudioPlayerCore& operator=(const VLRTAudioPlayerCore&) = delete;

    /// Fills the ring, then starts the device.
    MaybeError start();
    void stop();
    bool isRunning() const { return mFeed.running.load(std::memory_order_relaxed); }

    /// Drops what is buffered and goes on with what the delegate gives after `prepare` has run. No frame is
    /// asked for between the two. `prepare` is given the document frame that the device takes next (nothing
    /// before the first); when it answers true, the delegate now goes on from there, and frames that the
    /// device took meanwhile are left out.
    void reload(const std::function<bool(std::optional<int64_t>)>& prepare);

    /// Document frame, see VLRTAudioPlayer.
    int64_t timestamp() const;
    /// What a reload that moved the source brought is on its way to the ear.
    bool isMoveUnheard() const;
    /// Whether it stopped because the delegate had no more.
    bool hasReachedEnd() const { return mHasReachedEnd; }
    /// How full the ring is kept.
    int64_t numFramesToHold() const;
    double sampleRate() const { return mSettings.sampleRate; }
    uint32_t device() const { return mSettings.device; }
    double deviceSampleRate() const { return mStream ? mStream->sampleRate() : 0.0; }
    PlaybackFeed& feed() { return mFeed; }
    const OutputStream* stream() const { return mStream.get(); }

    void setChannels(int32_t left, int32_t right);
    void setPlaybackRate(double tempo);
    void setVarispeedRate(double speed);

    /// Appends interleaved stereo frames where there is no delegate; false when they do not fit. REALTIME,
    /// one thread.
    bool appendFrames(const float* pairs, int32_t numFrames) noexcept;

private:
    static constexpr int32_t kFillFrames = VLRTTimestampingRingBuffer::kSlotFrames;

    void openStream();
    void applyChannelMap();
    std::optional<int64_t> numFramesHeard() const;
    int64_t numFramesForRequest(double speed) const;
    void fill(int64_t numFramesToHold);
    bool fetch(std::vector<PlaybackBlock>& blocks, int64_t numFrames);
    void append(const PlaybackBlock& block, int64_t firstFrame);
    void appendStaged(const std::vector<PlaybackBlock>& blocks, int64_t numSkipped);
    void scheduleFill();
    void service();
    void stopAtEnd();
    void streamDidStop(StopReason reason);

    const Settings mSettings;
    PlayerCoreDelegate* const mDelegate;
    PlaybackFeed mFeed;
    PlaybackHistory mHistory;
    PlaybackSpeeds mSpeeds;
    std::unique_ptr<PlaybackChain> mChain;
    int32_t mLeftChannel;
    int32_t mRightChannel;
    MaybeError mOpenError;
    DispatchQueue mFillQueue;
    DispatchQueue mConsumeQueue;
    std::shared_ptr<DispatchGroup> mFillGroup = std::make_shared<DispatchGroup>();
    std::atomic<bool> mIsFillScheduled{false};
    int64_t mMovedAt = -1; ///< frames that were consumed when the source was moved last
    bool mHasReachedEnd = false;
    std::shared_ptr<bool> mIsAlive = std::make_shared<bool>(true);
    // Destroyed first, in this order from the end: no call of the timer or of the device comes afterwards.
    std::unique_ptr<OutputStream> mStream;
    std::unique_ptr<PeriodicTimer> mTimer;
};

} // namespace velloria
