#include "document/DocumentRecording.h"

#include "document/DocumentTransport.h"
#include "document/UndoGroup.h"

#include <algorithm>

namespace velloria
{

namespace
{

QString messageFor(StopReason reason)
{
    switch (reason) {
    case StopReason::requested:
        break;
    case StopReason::deviceLost:
        return QStringLiteral("The audio device went away.");
    case StopReason::serverLost:
        return QStringLiteral("The sound server went away.");
    case StopReason::formatChanged:
        return QStringLiteral("The audio device changed its sample rate.");
    }
    return {};
}

Error endError(Error::Code code, const QString& why)
{
    return {code, QStringLiteral("Recording stopped. %1 What was recorded until then is kept.").arg(why)};
}

/// "No space left on device" comes without a full stop.
QString asSentence(const QString& text)
{
    return text.endsWith(u'.') ? text : text + u'.';
}

} // namespace

DocumentRecording::DocumentRecording(SoundDocument& document)
    : mDocument(document)
{
}

DocumentRecording::~DocumentRecording() = default;

MaybeError DocumentRecording::recordFrom(double startTime, double endTime, int32_t track,
                                         VLRTAudioRecordingDelegate* delegate)
{
    mDocument.transport().stopSound();
    if (isInProgress())
        return Error{Error::Code::failed, QStringLiteral("A recording is still being completed.")};
    const double rate = mDocument.sampleRate();
    auto recorder = std::make_unique<VLRTAudioRecorder>(rate, mDocument.displayName());
    recorder->setDelegate(delegate ? delegate : this);
    // Before the document is touched: nothing is taken out of it where no device records. What comes in
    // meanwhile is delivered through the event loop, so later than this.
    if (MaybeError error = recorder->start())
        return error;
    mEndError.reset();
    mNumLostBlocks = 0;
    mSaved.reset();
    mSieve = nullptr;
    const int64_t start = std::max<int64_t>(0, frameAtTime(std::min(startTime, endTime), rate));
    const int64_t end = std::max(start, frameAtTime(std::max(startTime, endTime), rate));
    {
        const UndoGroup group(mDocument, QStringLiteral("Recording"));
        installClips(start, end, track);
        mDocument.transport().setAudioPlaybackRecordingCueStart(start);
        if (track == 0)
            saveMarkers(start, end);
    }
    mRecorder = std::move(recorder);
    for (DocumentController* controller : std::vector(mDocument.controllers()))
        controller->transportDidChange();
    return std::nullopt;
}

void DocumentRecording::installClips(int64_t start, int64_t end, int32_t track)
{
    int32_t first = 0;
    if (mDocument.trackCount() >= 3) {
        first = std::max(0, track) / 2 * 2;
        if (first > mDocument.trackCount() - 2)
            mDocument.setNumTracks(mDocument.trackCount() + 1);
    } else if (mDocument.trackCount() == 0)
        mDocument.setNumTracks(2);
    first = std::min(first, (mDocument.trackCount() - 1) / 2 * 2);
    const int32_t numClips = mDocument.trackCount() == 1 ? 1 : 2;
    mClips.clear();
    const auto label = std::make_shared<const ScratchLabel>(
        mDocument.scratchLabel(ScratchLabel::Use::recording).forNewSound(numClips));
    for (int32_t i = 0; i < numClips; ++i) {
        mClips.push_back(MutableAudioClip::clipWithSampleRate(mDocument.sampleRate()));
        mClips.back()->setLabel(label, i);
        mDocument.replaceDataAtOffset(start, end - start, first + i, ClipList(mClips.back()));
    }
}

void DocumentRecording::saveMarkers(int64_t start, int64_t end)
{
    MarkerEdit edit(*mDocument.audioMarkers());
    std::vector<AudioMarkerPtr> saved;
    for (const AudioMarkerPtr& marker : *mDocument.audioMarkers()) {
        if (marker->position() <= start) {
            edit.moveTo(marker, marker->position());
            continue;
        }
        edit.drop(marker);
        if (marker->position() >= end) {
            saved.push_back(AudioMarker::markerWithMarker(*marker));
            saved.back()->setPosition(marker->position() - end);
        }
    }
    if (!saved.empty())
        mSaved = std::move(saved);
    mDocument.undoableEditAudioMarkers(std::move(edit));
}

MaybeError DocumentRecording::resume()
{
    return mRecorder ? mRecorder->start() : std::nullopt;
}

void DocumentRecording::stop()
{
    if (isRecording())
        mRecorder->stop();
}

QString DocumentRecording::lossMessage() const
{
    if (mNumLostBlocks == 0)
        return {};
    const QString message =
        QStringLiteral("The machine was too busy to record everything: some sound is missing in %1.");
    return message.arg(mNumLostBlocks == 1 ? QStringLiteral("one place")
                                           : QStringLiteral("%1 places").arg(mNumLostBlocks));
}

void DocumentRecording::leaveBehind()
{
    for (const std::shared_ptr<MutableAudioClip>& clip : mClips)
        if (const std::shared_ptr<TempFile>& file = clip->tempFile())
            file->leaveBehind();
}

int64_t DocumentRecording::endFrame() const
{
    return mDocument.transport().audioPlaybackRecordingCueStart() + numRecordedFrames();
}

bool DocumentRecording::audioRecording(VLRTAudioRecorder&, const FloatBuffer& leftData,
                                       const FloatBuffer& rightData)
{
    if (!mSieve)
        return append(leftData, rightData);
    return mSieve(leftData, rightData,
                  [this](const FloatBuffer& left, const FloatBuffer& right) { return append(left, right); });
}

bool DocumentRecording::append(const FloatBuffer& leftData, const FloatBuffer& rightData)
{
    const FloatBuffer* const sides[] = {&leftData, &rightData};
    for (size_t i = 0; i < mClips.size() && !mEndError; ++i)
        if (const MaybeError error = mClips[i]->appendData(*sides[i]))
            mEndError = velloria::endError(error->code, asSentence(error->message));
    return !mEndError;
}

void DocumentRecording::audioRecordingDidStop(VLRTAudioRecorder& recorder)
{
    if (&recorder != mRecorder.get())
        return;
    mNumLostBlocks = recorder.core().numLostBlocks();
    const QString why = messageFor(recorder.stopReason());
    if (!why.isEmpty() && !mEndError)
        mEndError = velloria::endError(Error::Code::failed, why);
    for (const std::shared_ptr<MutableAudioClip>& clip : mClips)
        clip->finalizeCache();
    recorder.setDelegate(nullptr);
    mRecorder.reset();
    if (mSaved)
        restoreMarkers();
    mDocument.reload();
    for (DocumentController* controller : std::vector(mDocument.controllers()))
        controller->recordingDidStop();
}

void DocumentRecording::restoreMarkers()
{
    const int64_t start = mDocument.transport().audioPlaybackRecordingCueStart();
    for (const AudioMarkerPtr& marker : *mSaved)
        marker->setPosition(start + marker->position());
    mDocument.addMarkers(*std::exchange(mSaved, std::nullopt), QStringLiteral("Restore Markers"));
}

} // namespace velloria
