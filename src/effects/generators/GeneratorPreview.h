#pragma once

#include "Classes/CoreAudio/VLRTAudioPlayer.h"
#include "effects/generators/Generator.h"

#include <functional>
#include <memory>
#include <mutex>

namespace velloria
{

/// Lets a generator be heard before its sound is inserted, for as long as somebody wants. What is changed
/// meanwhile is crossfaded, and sounding begins and ends softly, so that nothing clicks. The generator
/// outlives it and is used for nothing else meanwhile. Main thread.
class GeneratorPreview final : public VLRTAudioPlayerDelegate
{
public:
    using StoppedHandler = std::function<void(StopReason)>;

    GeneratorPreview(Generator& generator, double sampleRate, StoppedHandler didStop = {});
    /// Stops, and tells nobody.
    ~GeneratorPreview();
    GeneratorPreview(const GeneratorPreview&) = delete;
    GeneratorPreview& operator=(const GeneratorPreview&) = delete;

    /// Opens the device; sounding or silent as setSounding() said last.
    MaybeError start();
    /// Does not wait; the handler is called when it is silent.
    void stop();
    /// Stops at once, and tells nobody.
    void end() { mPlayer.reset(); }
    bool isRunning() const { return mPlayer && mPlayer->isRunning(); }
    /// Goes on at the device that the preferences name or that is the default one now.
    void moveToSelectedDevice();

    /// A device that runs on in silence answers a key at once.
    void setSounding(bool isSounding);
    /// Runs a function that changes the generator's parameters, between two blocks.
    void change(const std::function<void()>& setParameters);
    /// The same, and begins anew: another note.
    void changeAndBegin(const std::function<void()>& setParameters);

    VLRTAudioPlayer* audioPlayback() const { return mPlayer.get(); }

private:
    PlaybackBlock audioDataForAudioPlayback(VLRTAudioPlayer& player, int64_t numFrames) override;
    void audioPlaybackDidStop(VLRTAudioPlayer& player) override;
    MaybeError startPlayer();
    void keepTail();
    void finish(StopReason reason);

    Generator& mGenerator;
    const double mSampleRate;
    StoppedHandler mDidStop;
    /// Between the fill queue, which holds it for a block at a time, and who changes the generator.
    std::mutex mBlockMutex;
    bool mIsSounding = true;
    double mLevel = 0.0;                      ///< follows mIsSounding from frame to frame
    FloatBuffer mTail;                        ///< how the sound before a change would go on
    size_t mTailTaken = 0;                    ///< frames of it that were given
    FloatBuffer mBlock;                       ///< of the fill queue
    std::unique_ptr<VLRTAudioPlayer> mPlayer; ///< last: it reads from the others
};

} // namespace velloria
