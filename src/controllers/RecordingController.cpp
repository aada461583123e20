#include "controllers/RecordingController.h"

#include "controllers/TransportController.h"
#include "document/DocumentRecording.h"
#include "document/DocumentTransport.h"
#include "platform/UserDefaults.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

// So much before the cue is drawn anew: what came since the last time, and the entry of the summary that was
// not full yet.
constexpr double kRedrawnSeconds = 0.25;

} // namespace

RecordingController::RecordingController(SoundDocument& document, SelectionModel& selection,
                                         TransportController& transport, SoundControllerHost& host)
    : mDocument(document)
    , mSelection(selection)
    , mTransport(transport)
    , mHost(host)
{
    transport.cueTimer().setRecordingHandler([this](double timeBefore) { recordingDidTick(timeBefore); });
}

bool RecordingController::isRecording() const
{
    return mDocument.recording().isInProgress();
}

bool RecordingController::updatesWaveformDuringRecording()
{
    UserDefaults& defaults = UserDefaults::standard();
    const QString key = QStringLiteral("edit.updateWaveformDuringRecording");
    defaults.registerDefault(key, true);
    return defaults.boolValue(key);
}

MaybeError RecordingController::startRecorder(const SoundSelection& range,
                                              VLRTAudioRecordingDelegate* delegate)
{
    mMeters = InputLevelsController::inputLevelsController().useMeters();
    mTransport.recordingWillStart();
    MaybeError error =
        mDocument.recording().recordFrom(range.startTime, range.endTime, range.firstTrack, delegate);
    if (error) {
        // One that is still being completed keeps them.
        if (!isRecording())
            mMeters.reset();
        mHost.recordingFailed(error->message);
    }
    mTransport.updateTransportButtons();
    return error;
}

void RecordingController::beginRecording()
{
    SoundSelection selection = mSelection.normalizedSelection();
    const int32_t numTracks = mDocument.trackCount();
    selection.firstTrack = numTracks < 2 ? 0 : selection.firstTrack / 2 * 2;
    selection.numTracks = numTracks < 2 ? 1 : 2;
    if (startRecorder(selection, nullptr))
        return;
    selection.endTime = selection.startTime;
    mSelection.setSelection(selection);
    mSelection.showCueTime(selection.startTime);
}

MaybeError RecordingController::recordAtEnd(VLRTAudioRecordingDelegate* delegate)
{
    const double end = mDocument.totalTime();
    return startRecorder({end, end, 0, std::min(mDocument.trackCount(), 2)}, delegate);
}

void RecordingController::record()
{
    if (!mDocument.recording().isInProgress())
        beginRecording();
    else if (!mDocument.recording().isRecording())
        mDocument.recording().resume();
    mTransport.updateTransportButtons();
}

void RecordingController::recordOrStop()
{
    if (!isRecording() && !mTransport.isPlaying())
        beginRecording();
    else
        mDocument.transport().stopSound();
    mTransport.updateTransportButtons();
}

void RecordingController::recordingDidTick(double timeBefore)
{
    const double now = mDocument.transport().cueTime();
    SoundSelection selection = mSelection.normalizedSelection();
    selection.startTime = now;
    selection.endTime = now;
    mSelection.setSelection(selection);
    if (!(now > timeBefore) || !updatesWaveformDuringRecording())
        return;
    const double rate = mDocument.sampleRate();
    const auto floored = static_cast<int64_t>(std::floor(rate * (timeBefore - kRedrawnSeconds)));
    const int64_t first = std::max<int64_t>(0, floored);
    // To the end: what lies behind the take moves to the right.
    const int64_t end = std::max(mDocument.numberOfFrames(), static_cast<int64_t>(std::ceil(rate * now)));
    mHost.setNeedsDisplayWithFrameOffset(first, end - first);
}

void RecordingController::recordingDidStop()
{
    const DocumentRecording& recording = mDocument.recording();
    const double end = static_cast<double>(recording.endFrame()) / mDocument.sampleRate();
    mMeters.reset();
    mTransport.updateTransportButtons();
    SoundSelection selection = mSelection.normalizedSelection();
    selection.startTime = end;
    selection.endTime = end;
    mSelection.setSelection(selection);
    mSelection.showCueTime(end);
    QStringList messages;
    if (const MaybeError& error = recording.endError())
        messages += error->message;
    if (const QString loss = recording.lossMessage(); !loss.isEmpty())
        messages += loss;
    if (!messages.isEmpty())
        mHost.recordingFailed(messages.join(u' '));
}

} // namespace velloria
