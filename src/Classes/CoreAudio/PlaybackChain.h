#pragma once

#include "Classes/CoreAudio/PlaybackFeed.h"
#include "Classes/CoreAudio/PlaybackStages.h"

namespace velloria
{

/// Between a player's render routine and its device: pulls frames at the document's rate and gives them at
/// the device's, at any speed. A change that needs other stages is crossfaded; the new stages begin with the
/// very frame that is heard then.
class PlaybackChain : public OutputClient
{
public:
    PlaybackChain(PlaybackFeed& source, const PlaybackSpeeds& speeds);
    ~PlaybackChain() override;
    PlaybackChain(const PlaybackChain&) = delete;
    PlaybackChain& operator=(const PlaybackChain&) = delete;

    /// One ordinary thread at a time.
    void setSpeeds(const PlaybackSpeeds& speeds);
    /// Frees stages that are out of use. Until then the next ones wait, so it is to be called every now and
    /// then while the device runs. Any ordinary thread.
    void tidy();

    /// REALTIME.
    int32_t render(float* left, float* right, uint32_t numFrames) noexcept override;
    /// REALTIME.
    void didRender(double heardFrom, double heardUntil) noexcept override;

private:
    static constexpr uint32_t kFadeFrames = 512;

    void adoptNext() noexcept;
    void renderFading(float* left, float* right, uint32_t numFrames) noexcept;

    PlaybackFeed& mSource;
    InputWindow mWindow;
    PlaybackSpeeds mSpeeds;            ///< as last asked for
    PlaybackStages* mLatest = nullptr; ///< made last; the ordinary thread's view
    // Stages go from the ordinary thread to the device's through mNext and back through mRetired.
    std::atomic<PlaybackStages*> mNext{nullptr};
    std::atomic<PlaybackStages*> mRetired{nullptr};
    // The device's thread's own.
    PlaybackStages* mCurrent = nullptr;
    PlaybackStages* mFading = nullptr;
    uint32_t mNumFaded = 0;
    std::array<float, kFadeFrames> mFadeLeft{};
    std::array<float, kFadeFrames> mFadeRight{};
};

} // namespace velloria
