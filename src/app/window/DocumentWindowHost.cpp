// What the controller asks of a document's window and tells it.

#include "app/window/DocumentWindow.h"

#include "app/look/EffectWords.h"
#include "app/menus/DocumentMenus.h"
#include "app/menus/MarkerActions.h"
#include "app/preferences/Settings.h"
#include "app/progress/MessageBar.h"
#include "app/progress/ProgressSheet.h"
#include "app/transport/LoudnessView.h"
#include "app/transport/StereoMeter.h"
#include "app/transport/TransportBar.h"
#include "app/waveform/WaveformView.h"
#include "app/window/MarkerListDock.h"
#include "controllers/RecordingController.h"
#include "controllers/TransportController.h"
#include "effects/frame/EffectRemark.h"
#include "platform/UserDefaults.h"

namespace velloria
{

std::unique_ptr<Progress> DocumentWindow::beginProgress(const QString& title)
{
    return std::make_unique<ProgressSheet>(title, this);
}

void DocumentWindow::resultIsPartial(PartialResult result)
{
    const auto text = [result] {
        switch (result) {
        case PartialResult::mixdownCancelled:
            //% "Mixing down was cancelled; what was done until then was kept."
            return qtTrId("partial-mixdown");
        case PartialResult::resamplingCancelled:
            //% "Resampling was cancelled; what was done until then was kept."
            return qtTrId("partial-resampling");
        case PartialResult::pasteCancelled:
            //% "Pasting was cancelled; what was done until then was kept."
            return qtTrId("partial-paste");
        case PartialResult::fewerTracksPasted:
            //% "Fewer tracks were copied than are selected; they went to the first ones."
            return qtTrId("partial-fewer-tracks");
        case PartialResult::tracksNotPasted:
            //% "More tracks were copied than there are from the selection on; the last ones were left out."
            return qtTrId("partial-more-tracks");
        }
        return QString();
    };
    mMessageBar->offerUndo(text(), document().undoManager(), document().isInUndoGroup());
}

void DocumentWindow::effectDidRemark(const QString& name, const EffectRemark& remark)
{
    //: %1 is the name of an effect, %2 what it could not do
    //% "%1: %2"
    const QString message = qtTrId("effect-remark").arg(name, EffectWords::said(remark));
    const bool isStepOpen = document().isInUndoGroup();
    if (remark.leavesSound())
        mMessageBar->showUntilStep(message, document().undoManager(), isStepOpen);
    else
        mMessageBar->offerUndo(message, document().undoManager(), isStepOpen);
}

void DocumentWindow::selectionDidChange()
{
    mView->context().selectionDidChange();
    mMenus->updateForSelection();
}

void DocumentWindow::cueDidChange()
{
    mView->context().cueDidChange();
}

void DocumentWindow::documentDidReload()
{
    mView->context().documentDidReload();
    mMarkerList->model().refresh();
    updateState();
    // Sound may have come in whose file is still being read.
    updateActivity();
}

void DocumentWindow::markersDidChange()
{
    mView->context().markersDidChange();
    mMarkerList->model().refresh();
    mMenus->markers().update();
}

void DocumentWindow::setNeedsDisplayWithFrameOffset(int64_t offset, int64_t length)
{
    mView->context().framesDidChange(offset, length);
}

void DocumentWindow::revealSelection()
{
    mView->context().geometry().revealSelection();
}

void DocumentWindow::constrainRevealed()
{
    mView->context().geometry().constrainRevealed();
}

WaveformViewGeometry* DocumentWindow::mainView()
{
    return mView ? &mView->context().geometry() : nullptr;
}

void DocumentWindow::transportDidChange()
{
    if (!mTransportBar)
        return;
    mMenus->updateForTransport();
    mTransportBar->showSpeed(mController->transport().playbackSpeed());
    const bool isRecording = mController->recording().isRecording();
    if (isRecording != mWasRecording) {
        mWasRecording = isRecording;
        showOrHideLoudness();
        updateEditing();
        mMenus->update();
    }
    // What kept it from playing or recording is settled. A step can be taken back while it is heard.
    if (isRecording || (mController->transport().isPlaying() && !mMessageBar->offersUndo()))
        mMessageBar->hide();
}

void DocumentWindow::outputLevelsDidChange(double leftDB, double rightDB)
{
    if (mTransportBar)
        mTransportBar->outputMeters().setLevels(leftDB, rightDB);
}

void DocumentWindow::outputLoudnessDidChange(const LoudnessReading& reading)
{
    if (mTransportBar)
        mTransportBar->loudness().setReading(reading);
}

void DocumentWindow::showOrHideLoudness()
{
    const bool isShown = UserDefaults::standard().boolValue(Settings::showsLoudness);
    // A recording has its own meters in that place.
    mTransportBar->loudness().setVisible(isShown && !mController->recording().isRecording());
    mController->transport().measureLoudness(isShown);
}

void DocumentWindow::playbackVolumeDidChange()
{
    if (mTransportBar)
        mTransportBar->showOutputLevel(TransportController::outputGain());
}

void DocumentWindow::playbackFailed(const QString& message)
{
    //: %1 says why
    //% "The sound cannot be played. %1"
    mMessageBar->showMessage(qtTrId("playback-failed").arg(message));
}

void DocumentWindow::playbackWasInterrupted(StopReason reason)
{
    //% "The sound server went away. Playback is paused."
    const QString serverLost = qtTrId("playback-server-lost");
    //% "The output device went away. Playback is paused."
    const QString deviceLost = qtTrId("playback-device-lost");
    mMessageBar->showMessage(reason == StopReason::serverLost ? serverLost : deviceLost);
}

void DocumentWindow::tellOfChangedFile()
{
    if (isOpening() || document().filePath().empty())
        return;
    SaveRequest request;
    request.path = document().filePath();
    request.uti = document().fileType();
    const MaybeError error = document().refusalToSave(request);
    const bool isChange =
        error && (error->code == Error::Code::sourceChanged || error->code == Error::Code::targetChanged);
    const QString change = isChange ? error->message : QString();
    if (change != mToldChange && !change.isEmpty())
        mMessageBar->showMessage(change);
    mToldChange = change;
}

void DocumentWindow::documentDidGrow()
{
    mView->context().documentDidGrow();
}

void DocumentWindow::recordingFailed(const QString& message)
{
    mMessageBar->showMessage(message);
}

} // namespace velloria
