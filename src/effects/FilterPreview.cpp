#include "effects/FilterPreview.h"

#include "effects/FilterSource.h"
#include "platform/Log.h"
#include "platform/hardware/AudioHardware.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr uint64_t kDefaultBufferNumFrames = 2048;

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
    DocumentSource& source = *mFilter.source();
    source.setLooping(mLoops);
    source.setMark(source.loopStart());
    mFilter.processingWillBegin();
    mIsProcessing = true;
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
    // Before its source is moved: it reads from it.
    mPlayer.reset();
    moveSourceTo(std::max(heard, mFilter.source()->loopStart()) + mFilter.latencyNumFrames());
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
    if (mPlayer)
        mFilter.source()->setLooping(loops);
}

void FilterPreview::setBypassed(bool isBypassed)
{
    change([this, isBypassed] { mBypass.setBypassed(isBypassed); });
}

void FilterPreview::change(const std::function<void()>& setParameters)
{
    if (!isRunning()) {
        setParameters();
        return;
    }
    // On the fill queue while this waits: no effect has to expect a change in the middle of a block.
    mPlayer->core().reload([&](std::optional<int64_t> heard) {
        setParameters();
        if (heard)
            moveSourceTo(*heard + mFilter.latencyNumFrames());
        return heard.has_value();
    });
}

void FilterPreview::moveSourceTo(int64_t frame)
{
    DocumentSource& source = *mFilter.source();
    int64_t numFrames = source.mark() - frame;
    if (numFrames < 0 && source.isLooping())
        numFrames += source.loopEnd() - source.loopStart();
    source.setMark(frame);
    mFilter.sourceDidMoveBack(numFrames);
}

void FilterPreview::readDry(int64_t frame, size_t numFrames, size_t numChannels)
{
    mDrySource->setMark(frame);
    mDryMixer.requestDataWithNumFrames(numFrames, mDry);
    mDry.resize(numChannels);
    for (FloatBuffer& channel : mDry)
        channel.resize(numFrames, 0.0F);
}

PlaybackBlock FilterPreview::audioDataForAudioPlayback(VLRTAudioPlayer&, int64_t numFrames)
{
    const DocumentSource& source = *mFilter.source();
    int64_t frame = source.mark();
    if (source.isLooping() && frame >= source.loopEnd())
        frame = source.loopStart();
    PlaybackBlock block;
    block.timestamp = frame - mFilter.latencyNumFrames();
    SampleBlock wet;
    if (!mMixer.requestDataWithNumFrames(static_cast<uint64_t>(numFrames), wet) || wet.empty())
        return block;
    readDry(block.timestamp, wet.front().size(), wet.size());
    mBypass.process(wet, mDry);
    block.stereoAudioData = DataSource::interleaveAudioData(wet);
    return block;
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
