#include "document/DocumentTransport.h"

#include "document/DocumentRecording.h"
#include "document/SoundDocument.h"

#include <algorithm>

namespace velloria
{

DocumentTransport::DocumentTransport(SoundDocument& document)
    : mDocument(document)
{
}

DocumentTransport::~DocumentTransport()
{
    // Before the source that it reads.
    mPlayer.reset();
}

MaybeError DocumentTransport::playSelection(const SoundSelection& selection, double cueTime)
{
    if (!(selection.duration() > 0.0)) {
        tellDidChange();
        return std::nullopt;
    }
    SoundSelection played = selection;
    played.numTracks = std::min(played.numTracks, mDocument.trackCount());
    const int64_t frame = frameAtTime(cueTime, mDocument.sampleRate());
    MaybeError error;
    if (isPlaying())
        moveCue(frame);
    else
        error = startPlaying(played, frame);
    tellDidChange();
    return error;
}

void DocumentTransport::moveCue(int64_t frame)
{
    mCueStart = frame;
    mPlayer->reloadAudio([this, frame] {
        mSource->setMark(frame);
        mSource->setLooping(mLoops);
    });
}

MaybeError DocumentTransport::startPlaying(const SoundSelection& selection, int64_t frame)
{
    // One that plays its last frames is cut off.
    mPlayer.reset();
    // The source must not keep its owner alive.
    const std::shared_ptr<const FrameSource> document(std::shared_ptr<void>(), &mDocument);
    mSource = std::make_unique<DocumentSource>(document, selection);
    mSource->setMark(frame);
    mSource->setLooping(mLoops);
    mCueStart = frame;
    return startPlayer();
}

MaybeError DocumentTransport::startPlayer()
{
    const double rate = mDocument.sampleRate();
    mPlayer = std::make_unique<VLRTAudioPlayer>(rate, VLRTAudioPlayer::numberOfFramesForPlaying(rate), this,
                                                mDocument.displayName());
    mPlayer->setPlaybackRate(mSpeed);
    mPlayer->keepRendered(mKeepsRendered);
    MaybeError error = mPlayer->start();
    if (error) {
        mPlayer.reset();
        mSource.reset();
    }
    return error;
}

MaybeError DocumentTransport::moveToSelectedDevice()
{
    if (!isPlaying())
        return std::nullopt;
    const int64_t heard = mPlayer->playbackTimestamp();
    // Before its source is moved: it reads from it.
    mPlayer.reset();
    mCueStart = heard < 0 ? mCueStart : heard;
    mSource->setMark(mCueStart);
    MaybeError error = startPlayer();
    tellDidChange();
    return error;
}

void DocumentTransport::documentDidChange()
{
    if (!isPlaying())
        return;
    if (mPlayer->core().sampleRate() != mDocument.sampleRate()) {
        stopSound();
        return;
    }
    const int64_t numFrames = mDocument.numberOfFrames();
    mPlayer->reloadFromHeardFrame([&](int64_t heard) {
        // Who plays to the end of the document goes on to its new one.
        if (mSource->loopEnd() == mSource->limit())
            mSource->setLoopEnd(numFrames);
        mSource->setLimit(numFrames);
        mSource->setMark(heard);
    });
}

void DocumentTransport::stopSound()
{
    if (isPlaying())
        mPlayer->stop();
    mDocument.recording().stop();
}

bool DocumentTransport::isPaused() const
{
    if (mPlayer)
        return !mPlayer->isRunning();
    return mDocument.recording().isInProgress() && !mDocument.recording().isRecording();
}

double DocumentTransport::cueTime() const
{
    if (mDocument.recording().isInProgress())
        return static_cast<double>(mDocument.recording().endFrame()) / mDocument.sampleRate();
    return mPlayer ? static_cast<double>(mPlayer->playbackTimestamp()) / mDocument.sampleRate() : -1.0;
}

double DocumentTransport::nextCueTime() const
{
    const double time = cueTime();
    if (!mPlayer || mDocument.recording().isInProgress() || (time >= 0.0 && !mPlayer->core().isMoveUnheard()))
        return time;
    return static_cast<double>(mCueStart) / mDocument.sampleRate();
}

void DocumentTransport::setAudioPlaybackLoops(bool loops, std::optional<int64_t> loopStart,
                                              std::optional<int64_t> loopEnd)
{
    mLoops = loops;
    if (!isPlaying())
        return;
    const auto apply = [&] {
        if (loopStart)
            mSource->setLoopStart(*loopStart);
        if (loopEnd)
            mSource->setLoopEnd(*loopEnd);
        mSource->setLooping(loops);
    };
    mPlayer->reloadFromHeardFrame([&](int64_t heard) {
        apply();
        mSource->setMark(heard);
    });
}

void DocumentTransport::setPlaybackSpeed(double speed)
{
    mSpeed = speed;
    if (mPlayer)
        mPlayer->setPlaybackRate(speed);
}

void DocumentTransport::keepRendered(bool isWanted)
{
    mKeepsRendered = isWanted;
    if (mPlayer)
        mPlayer->keepRendered(isWanted);
}

PlaybackBlock DocumentTransport::audioDataForAudioPlayback(VLRTAudioPlayer&, int64_t numFrames)
{
    PlaybackBlock block;
    readPlaybackBlock(*mSource, static_cast<uint64_t>(numFrames), mScratch, block);
    return block;
}

void DocumentTransport::audioPlaybackDidStop(VLRTAudioPlayer& player)
{
    mStopReason = player.stopReason();
    mHasReachedEnd = player.hasReachedEnd();
    mPlayer.reset();
    mSource.reset();
    for (DocumentController* controller : std::vector(mDocument.controllers()))
        controller->playbackDidStop();
}

void DocumentTransport::tellDidChange() const
{
    for (DocumentController* controller : std::vector(mDocument.controllers()))
        controller->transportDidChange();
}

} // namespace velloria
