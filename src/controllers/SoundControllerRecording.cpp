#include "controllers/InputLevelsController.h"
#include "controllers/SoundController.h"
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

bool SoundController::isRecording() const
{
    return mDocument->recording().isInProgress();
}

bool SoundController::updatesWaveformDuringRecording()
{
    UserDefaults& defaults = UserDefaults::standard();
    const QString key = QStringLiteral("edit.updateWaveformDuringRecording");
    defaults.registerDefault(key, true);
    return defaults.boolValue(key);
}

MaybeError SoundController::startRecorder(const SoundSelection& range, VLRTAudioRecordingDelegate* delegate)
{
    InputLevelsController& meters = InputLevelsController::inputLevelsController();
    mMetersWereActive = meters.metersActive();
    meters.setMetersActive(true);
    mWasStopped = true;
    mCueReturnsToStart = false;
    MaybeError error =
        mDocument->recording().recordFrom(range.startTime, range.endTime, range.firstTrack, delegate);
    if (error) {
        meters.setMetersActive(mMetersWereActive);
        mHost.recordingFailed(error->message);
    }
    updateTransportButtons();
    return error;
}

void SoundController::beginRecording()
{
    SoundSelection selection = normalizedSelection();
    const int32_t numTracks = mDocument->trackCount();
    selection.firstTrack = numTracks < 2 ? 0 : selection.firstTrack / 2 * 2;
    selection.numTracks = numTracks < 2 ? 1 : 2;
    if (startRecorder(selection, nullptr))
        return;
    selection.endTime = selection.startTime;
    setSelection(selection);
    showCueTime(selection.startTime);
}

MaybeError SoundController::recordAtEnd(VLRTAudioRecordingDelegate* delegate)
{
    const double end = mDocument->totalTime();
    return startRecorder({end, end, 0, std::min(mDocument->trackCount(), 2)}, delegate);
}

void SoundController::record()
{
    if (!mDocument->recording().isInProgress())
        beginRecording();
    else if (!mDocument->recording().isRecording())
        mDocument->recording().resume();
    updateTransportButtons();
}

void SoundController::recordOrStop()
{
    if (!isRecording() && !isPlaying())
        beginRecording();
    else
        mDocument->transport().stopSound();
    updateTransportButtons();
}

void SoundController::recordingDidTick(double timeBefore)
{
    const double now = mDocument->transport().cueTime();
    SoundSelection selection = normalizedSelection();
    selection.startTime = now;
    selection.endTime = now;
    setSelection(selection);
    if (!(now > timeBefore) || !updatesWaveformDuringRecording())
        return;
    const double rate = mDocument->sampleRate();
    const auto floored = static_cast<int64_t>(std::floor(rate * (timeBefore - kRedrawnSeconds)));
    const int64_t first = std::max<int64_t>(0, floored);
    // To the end: what lies behind the take moves to the right.
    const int64_t end = std::max(mDocument->numberOfFrames(), static_cast<int64_t>(std::ceil(rate * now)));
    mHost.setNeedsDisplayWithFrameOffset(first, end - first);
}

void SoundController::recordingDidStop()
{
    const DocumentRecording& recording = mDocument->recording();
    const double end = static_cast<double>(recording.endFrame()) / mDocument->sampleRate();
    InputLevelsController::inputLevelsController().setMetersActive(mMetersWereActive);
    mCloseUps.clear();
    updateTransportButtons();
    SoundSelection selection = normalizedSelection();
    selection.startTime = end;
    selection.endTime = end;
    setSelection(selection);
    showCueTime(end);
    QStringList messages;
    if (const MaybeError& error = recording.endError())
        messages += error->message;
    if (const QString loss = recording.lossMessage(); !loss.isEmpty())
        messages += loss;
    if (!messages.isEmpty())
        mHost.recordingFailed(messages.join(u' '));
}

} // namespace velloria
