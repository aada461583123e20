#pragma once

#include "document/clips/AudioClip.h"

#include <functional>

namespace velloria
{

/// Which of the blocks that come in an automatic recording keeps: it begins with a block as loud as the start
/// level, preceded by the block before it, and ends when it has been softer than the stop level for long
/// enough. The countdown runs at half speed, so that silence must last for twice the duration that is set.
class AutoRecordGate
{
public:
    struct Settings {
        double startLevel = -24.0; ///< dB
        double stopLevel = -36.0;  ///< dB
        double stopDuration = 5.0; ///< seconds
    };
    using Keeper = std::function<bool(const FloatBuffer& left, const FloatBuffer& right)>;

    explicit AutoRecordGate(double sampleRate)
        : mSampleRate(sampleRate)
    {
    }

    /// Hands to `keep` what is to be kept now: nothing, the block, or the one before it and the block. False
    /// when `keep` answers so.
    bool take(const FloatBuffer& left, const FloatBuffer& right, const Settings& settings,
              const Keeper& keep);

    /// In dB, of a block's largest value, which is not its largest magnitude; minus infinity for none above
    /// 0.
    static double levelOf(const FloatBuffer& left, const FloatBuffer& right);

    /// Seconds; blocks are kept while this is above 0.
    double timeRemainingBeforeStop() const { return mTimeRemainingBeforeStop; }
    bool isOpen() const { return mTimeRemainingBeforeStop > 0.0; }

private:
    void count(double level, size_t numFrames, const Settings& settings);

    double mSampleRate;
    double mTimeRemainingBeforeStop = 0.0;
    FloatBuffer mPreviousLeftBuffer;
    FloatBuffer mPreviousRightBuffer;
};

} // namespace velloria
