#include "effects/frame/FilterPreview.h"

#include "effects/frame/FilterSource.h"
#include "effects/frame/SampleArithmetic.h"
#include "platform/Log.h"
#include "platform/hardware/AudioHardware.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr uint64_t kDefaultBufferNumFrames = 2048;
/// More than ring and device hold together.
constexpr double kGivenSeconds = 1.0;

PeakHolder::Peaks peaksOf(const SampleBlock& stereo)
{
    return {SampleArithmetic::peak(stereo.front()), SampleArithmetic::peak(stereo.back())};
}

} // namespace

FilterPreview::FilterPreview(Filter& filter, StoppedHandler didStop)
    : mFilter(filter)
    , mDidStop(std::move(didStop))
    , mBypass(filter.sampleRate())
{
}

FilterPreview::~FilterPreview()
{
    mPlayer.reset();
    if (mIsProcessing)
        mFilter.processingFinished();
}

void FilterPreview::makeMixers()
{
    const DocumentSource& source = *mFilter.source();
    mDrySource = std::make_shared<DocumentSource>(source.document());
    mDrySource->setFirstTrack(source.firstTrack());
    mDrySource->setNumTracks(source.numTracks());
    mDrySource->setLoopStart(source.loopStart());
    mDrySource->setLoopEnd(source.loopEnd());
    mDrySource->setLooping(mLoops);
    for (AudioMixer* const mixer : {&mMixer, &mDryMixer}) {
        mixer->components().clear();
        for (int32_t track = 0; track < source.numTracks(); ++track)
            mixer->addComponent(source.mixerComponentOfTrackNumber(track).value_or(MixerComponent(0.0, 1.0)));
    }
    mMixer.setSource(std::make_shared<FilterSource>(mFilter));
    mDryMixer.setSource(mDrySource);
}

MaybeError FilterPreview::start()
{
    if (isRunning())
        return std::nullopt;
    mPlayer.reset();
    if (mFilter.maxBufferNumFrames() == 0) {
        logLine(QStringLiteral("-[Filter preview:] maxBufferNumFrames == 0"));
        mFilter.setMaxBufferNumFrames(kDefaultBufferNumFrames);
    }
    if (MaybeError error = mFilter.measureForPreview())
        return error;
    DocumentSource& source = *mFilter.source();
    source.setLooping(mLoops);
    source.setMark(source.loopStart());
    mFilter.begin();
    mIsProcessing = true;
    mGiven.clear();
    mRepeat.clear();
    mLevels.clear();
    makeMixers();
    MaybeError error = startPlayer();
    if (error) {
        mPlayer.reset();
        mFilter.processingFinished();
        mIsProcessing = false;
    }
    return error;
}

MaybeError FilterPreview::startPlayer()
{
    const double rate = mFilter.sampleRate();
    mPlayer = std::make_unique<VLRTAudioPlayer>(rate, VLRTAudioPlayer::numberOfFramesForPreview(rate), this,
                                                mFilter.name(), Buffering::brief);
    return mPlayer->start();
}

void FilterPreview::moveToSelectedDevice()
{
    if (!isRunning())
        return;
    const uint32_t present = mPlayer->core().device();
    const uint32_t selected = VLRTAudioPlayer::selectedOutputDevice();
    // The stream of a device that is gone ends by itself.
    if (selected == 0 || selected == present || !AudioHardware::current().state().deviceWithID(present))
        return;
    const int64_t heard = mPlayer->playbackTimestamp();
    // First, so that nothing more is asked for.
    mPlayer.reset();
    repeatFrom(heard);
    if (startPlayer())
        finish(StopReason::deviceLost);
}

void FilterPreview::stop()
{
    if (isRunning())
        mPlayer->stop();
}

void FilterPreview::setLooping(bool loops)
{
    mLoops = loops;
    if (!mPlayer)
        return;
    mFilter.source()->setLooping(loops);
    mDrySource->setLooping(loops);
}

void FilterPreview::setBypassed(bool isBypassed)
{
    mBypass.setBypassed(isBypassed);
}

void FilterPreview::change(const std::function<void()>& setParameters)
{
    const std::lock_guard lock(mBlockMutex);
    setParameters();
}

std::optional<PreviewLevels> FilterPreview::takeHeardLevels()
{
    return isRunning() ? mLevels.takeUntil(mPlayer->playbackTimestamp()) : std::nullopt;
}

/// The sound before the effect from a frame on, as the mixer makes it; silence after its end.
void FilterPreview::readDry(int64_t frame, size_t numFrames, size_t numChannels)
{
    mDry.assign(numChannels, FloatBuffer());
    mDrySource->setMark(frame);
    // A part ends where the loop does.
    for (size_t count = 0; count < numFrames; count = mDry.front().size()) {
        if (!mDryMixer.requestDataWithNumFrames(numFrames - count, mDryPart) || mDryPart.front().empty())
            break;
        for (size_t channel = 0; channel < std::min(numChannels, mDryPart.size()); ++channel)
            mDry[channel].insert(mDry[channel].end(), mDryPart[channel].begin(), mDryPart[channel].end());
    }
    for (FloatBuffer& channel : mDry)
        channel.resize(numFrames, 0.0F);
}

PlaybackBlock FilterPreview::nextBlock(int64_t numFrames)
{
    const std::lock_guard lock(mBlockMutex);
    PlaybackBlock block;
    block.timestamp = mFilter.heardFrame();
    SampleBlock wet;
    if (!mMixer.requestDataWithNumFrames(static_cast<uint64_t>(numFrames), wet) || wet.empty())
        return block;
    readDry(block.timestamp, wet.front().size(), wet.size());
    const float lowestGain = mFilter.takeLowestGain();
    mBypass.process(wet, mDry);
    // Behind the bypass, as it is heard: there no gain is lowered.
    mLevels.append(block.timestamp, std::ssize(wet.front()),
                   {peaksOf(mDry), peaksOf(wet), mBypass.isBypassed() ? 1.0F : lowestGain});
    block.stereoAudioData = DataSource::interleaveAudioData(wet);
    return block;
}

PlaybackBlock FilterPreview::audioDataForAudioPlayback(VLRTAudioPlayer&, int64_t numFrames)
{
    PlaybackBlock block;
    if (mRepeat.empty()) {
        block = nextBlock(numFrames);
    } else {
        block = std::move(mRepeat.front());
        mRepeat.pop_front();
    }
    mGiven.push_back(block);
    const double most =
        kGivenSeconds * mFilter.sampleRate() / static_cast<double>(std::max<int64_t>(1, numFrames));
    while (static_cast<double>(mGiven.size()) > most)
        mGiven.pop_front();
    return block;
}

/// What was given but not heard comes once more, for a device that has none of it. No player runs.
void FilterPreview::repeatFrom(int64_t frame)
{
    const auto isHeardIn = [frame](const PlaybackBlock& block) {
        return frame >= block.timestamp && frame < block.timestamp + block.numFrames();
    };
    // From the back: in a loop a frame comes more than once.
    auto block = std::find_if(mGiven.rbegin(), mGiven.rend(), isHeardIn);
    if (block != mGiven.rend()) {
        const int64_t numHeard = frame - block->timestamp;
        block->timestamp = frame;
        block->stereoAudioData.erase(block->stereoAudioData.begin(),
                                     block->stereoAudioData.begin() + 2 * numHeard);
        mGiven.erase(mGiven.begin(), std::prev(block.base()));
    }
    mRepeat.insert(mRepeat.begin(), mGiven.begin(), mGiven.end());
    mGiven.clear();
}

void FilterPreview::audioPlaybackDidStop(VLRTAudioPlayer& player)
{
    finish(player.stopReason());
}

void FilterPreview::finish(StopReason reason)
{
    mPlayer.reset();
    mFilter.processingFinished();
    mIsProcessing = false;
    if (mDidStop)
        mDidStop(reason);
}

} // namespace velloria
