#pragma once

#include "Classes/CoreAudio/InputUnit.h"
#include "Classes/CoreAudio/VLRTAudioPlayerCore.h"
#include "platform/NotificationCenter.h"

namespace velloria
{

/// Plays on the chosen output what the chosen input hears, as soon as it can. Where the input gives more than
/// the output takes the surplus is left out, so that what is heard never falls far behind. Main thread.
class VLRTAudioPlaythrough final : private InputClient
{
public:
    /// The handlers are called when a device goes away, too.
    explicit VLRTAudioPlaythrough(StoppedHandler inputDidStop = {}, StoppedHandler outputDidStop = {});
    ~VLRTAudioPlaythrough() override;
    VLRTAudioPlaythrough(const VLRTAudioPlaythrough&) = delete;
    VLRTAudioPlaythrough& operator=(const VLRTAudioPlaythrough&) = delete;

    MaybeError start();
    void stop();
    bool isRunning() const { return mUnit.isRunning(); }
    uint32_t inputDevice() const { return mUnit.device(); }
    uint32_t outputDevice() const { return mOutputDevice; }
    /// Null when there is no input.
    VLRTAudioPlayerCore* core() { return mPlayerCore.get(); }

private:
    static constexpr int32_t kRingFrames = 8192;

    void capture(const float* frames, uint32_t numFrames) noexcept override;
    void playbackVolumeDidChange();
    void outputConfigurationDidChange();

    const uint32_t mOutputDevice;
    // The ring is kept no fuller than this.
    int32_t mLength = 0;
    std::unique_ptr<VLRTAudioPlayerCore> mPlayerCore;
    NotificationCenter::Token mVolumeToken;
    NotificationCenter::Token mConfigurationToken;
    // Destroyed first: no call of the device comes afterwards.
    InputUnit mUnit;
};

} // namespace velloria
