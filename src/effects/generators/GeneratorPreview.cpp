#include "effects/generators/GeneratorPreview.h"

#include "platform/hardware/AudioHardware.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr double kFadeSeconds = 0.01;

} // namespace

GeneratorPreview::GeneratorPreview(Generator& generator, double sampleRate, StoppedHandler didStop)
    : mGenerator(generator)
    , mSampleRate(sampleRate)
    , mDidStop(std::move(didStop))
{
}

GeneratorPreview::~GeneratorPreview()
{
    end();
}

MaybeError GeneratorPreview::start()
{
    if (isRunning())
        return std::nullopt;
    mPlayer.reset();
    mGenerator.begin(mSampleRate);
    mLevel = 0.0;
    mTail.clear();
    mTailTaken = 0;
    return startPlayer();
}

MaybeError GeneratorPreview::startPlayer()
{
    mPlayer =
        std::make_unique<VLRTAudioPlayer>(mSampleRate, VLRTAudioPlayer::numberOfFramesForPreview(mSampleRate),
                                          this, mGenerator.name(), Buffering::brief);
    MaybeError error = mPlayer->start();
    if (error)
        mPlayer.reset();
    return error;
}

void GeneratorPreview::stop()
{
    if (isRunning())
        mPlayer->stop();
}

void GeneratorPreview::moveToSelectedDevice()
{
    if (!isRunning())
        return;
    const uint32_t present = mPlayer->core().device();
    const uint32_t selected = VLRTAudioPlayer::selectedOutputDevice();
    // The stream of a device that is gone ends by itself.
    if (selected == 0 || selected == present || !AudioHardware::current().state().deviceWithID(present))
        return;
    mPlayer.reset();
    if (startPlayer())
        finish(StopReason::deviceLost);
}

void GeneratorPreview::setSounding(bool isSounding)
{
    const std::lock_guard lock(mBlockMutex);
    mIsSounding = isSounding;
}

/// One tail at a time: of changes that follow each other more quickly the first is faded out of.
void GeneratorPreview::keepTail()
{
    if (!isRunning() || mTailTaken < mTail.size())
        return;
    mTail.resize(static_cast<size_t>(kFadeSeconds * mSampleRate));
    mTailTaken = 0;
    mGenerator.render(mTail);
}

void GeneratorPreview::change(const std::function<void()>& setParameters)
{
    const std::lock_guard lock(mBlockMutex);
    keepTail();
    setParameters();
}

void GeneratorPreview::changeAndBegin(const std::function<void()>& setParameters)
{
    const std::lock_guard lock(mBlockMutex);
    keepTail();
    setParameters();
    mGenerator.begin(mSampleRate);
}

PlaybackBlock GeneratorPreview::audioDataForAudioPlayback(VLRTAudioPlayer&, int64_t numFrames)
{
    const std::lock_guard lock(mBlockMutex);
    mBlock.resize(static_cast<size_t>(std::max<int64_t>(0, numFrames)));
    mGenerator.render(mBlock);
    PlaybackBlock block;
    block.stereoAudioData.reserve(2 * mBlock.size());
    const double step = 1.0 / (kFadeSeconds * mSampleRate);
    for (const float sample : mBlock) {
        double value = static_cast<double>(sample);
        if (mTailTaken < mTail.size()) {
            const double share = static_cast<double>(mTailTaken) / static_cast<double>(mTail.size());
            value = share * value + (1.0 - share) * static_cast<double>(mTail[mTailTaken++]);
        }
        mLevel = std::clamp(mLevel + (mIsSounding ? step : -step), 0.0, 1.0);
        const auto heard = static_cast<float>(value * mLevel);
        block.stereoAudioData.push_back(heard);
        block.stereoAudioData.push_back(heard);
    }
    return block;
}

void GeneratorPreview::audioPlaybackDidStop(VLRTAudioPlayer& player)
{
    finish(player.stopReason());
}

void GeneratorPreview::finish(StopReason reason)
{
    mPlayer.reset();
    if (mDidStop)
        mDidStop(reason);
}

} // namespace velloria
