#pragma once

#include "Classes/CoreAudio/InputWindow.h"
#include "platform/codec/LiveRateConverter.h"
#include "platform/codec/TimeStretcher.h"

#include <array>
#include <atomic>
#include <memory>

namespace velloria
{

/// What happens to the frames of a document on their way to a device.
struct PlaybackSpeeds {
    double inputRate = 44100.0;
    double outputRate = 44100.0;
    double tempo = 1.0;     ///< at constant pitch
    double varispeed = 1.0; ///< with the pitch

    bool needsTempoStage() const { return tempo != 1.0; }
    bool needsRateStage() const { return inputRate != outputRate || varispeed != 1.0; }
    /// Whether stages made for one can go on with the other.
    bool hasSameStagesAs(const PlaybackSpeeds& other) const;
};

/// The stages tempo (Rubber Band) and rate (soxr), of which those that would do nothing are left out: with
/// neither, frames pass unchanged. Made on an ordinary thread, then used by the device's.
class PlaybackStages
{
public:
    /// Where a library is missing or a rate makes no sense, that stage is left out.
    explicit PlaybackStages(const PlaybackSpeeds& speeds);

    const PlaybackSpeeds& speeds() const { return mSpeeds; }
    /// Takes effect with the next block. Any thread.
    void setTempo(double tempo) { mTempoWanted.store(tempo, std::memory_order_relaxed); }
    void setVarispeed(double speed) { mVarispeedWanted.store(speed, std::memory_order_relaxed); }

    /// REALTIME. From now on the next frame that comes out is the one at `position`.
    void begin(InputWindow& window, int64_t position) noexcept;
    /// REALTIME.
    void render(InputWindow& window, float* left, float* right, uint32_t numFrames) noexcept;
    /// REALTIME. The frame of the window that comes out next.
    int64_t position() const noexcept { return static_cast<int64_t>(mPosition); }

private:
    static constexpr uint32_t kBlockFrames = LiveRateConverter::kMaxFrames;

    void applySpeeds() noexcept;
    void advance(uint32_t numFrames) noexcept;
    double numFramesHeld() const noexcept;
    void readStretched(InputWindow& window, float* left, float* right, uint32_t numFrames) noexcept;
    void renderConverted(InputWindow& window, float* left, float* right, uint32_t numFrames) noexcept;
    void refillConverter(InputWindow& window) noexcept;
    void drop(InputWindow& window, int64_t numFrames) noexcept;

    PlaybackSpeeds mSpeeds;
    std::atomic<double> mTempoWanted;
    std::atomic<double> mVarispeedWanted;
    std::unique_ptr<TimeStretcher> mStretcher;
    std::unique_ptr<LiveRateConverter> mConverter;
    uint32_t mStretcherPad = 0;
    /// What comes out next, by counting what came out.
    double mPosition = 0.0;
    /// Frame of the window that is read next.
    int64_t mCursor = 0;
    uint32_t mNumWaiting = 0; ///< frames in mWaiting that the converter did not take yet
    uint32_t mWaitingStart = 0;
    std::array<float, size_t{2} * kBlockFrames> mWaiting{};
    std::array<float, size_t{2} * kBlockFrames> mConverted{};
    std::array<float, TimeStretcher::kMaxInputFrames> mLeft{};
    std::array<float, TimeStretcher::kMaxInputFrames> mRight{};
    std::array<float, kBlockFrames> mBlockLeft{};
    std::array<float, kBlockFrames> mBlockRight{};
};

} // namespace velloria
