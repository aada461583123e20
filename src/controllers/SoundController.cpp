#include "controllers/SoundController.h"

#include "controllers/ConversionCommands.h"
#include "controllers/DisplayController.h"
#include "controllers/EditCommands.h"
#include "controllers/EffectController.h"
#include "controllers/MarkerCommands.h"
#include "controllers/RecordingController.h"
#include "controllers/TransportController.h"
#include "document/DocumentTransport.h"

namespace velloria
{

SoundController::SoundController(std::shared_ptr<SoundDocument> document, SoundControllerHost& host)
    : mDocument(std::move(document))
    , mHost(host)
    , mSelection(std::make_unique<SelectionModel>(*mDocument, host))
    , mDisplay(std::make_unique<DisplayController>(*mDocument, host))
    , mTransport(std::make_unique<TransportController>(*mDocument, *mSelection, host))
    , mRecording(std::make_unique<RecordingController>(*mDocument, *mSelection, *mTransport, host))
    , mMarkers(std::make_unique<MarkerCommands>(*mDocument, *mSelection, *mTransport, *mDisplay))
    , mEditing(std::make_unique<EditCommands>(*mDocument, *mSelection, host))
    , mConversions(std::make_unique<ConversionCommands>(*mDocument, *mSelection, host))
    , mEffects(std::make_unique<EffectController>(mDocument, *mSelection, host))
{
    mDocument->addController(this);
}

SoundController::~SoundController()
{
    mDocument->removeController(this);
}

void SoundController::setMostScratchBytes(int64_t numBytes)
{
    mEffects->setMostScratchBytes(numBytes);
    mConversions->setMostScratchBytes(numBytes);
}

MaybeError SoundController::save(const SaveRequest& request)
{
    if (MaybeError error = mDocument->refusalToSave(request))
        return error;
    const QString name = displayName(request.path);
    const QStringList losses = mDocument->lossesWhenSaving(request);
    if (!losses.isEmpty() &&
        !mHost.alerts().confirmLoss(QStringLiteral("Save “%1” all the same?").arg(name), losses))
        return Error::cancelled();
    std::unique_ptr<Progress> progress = mHost.beginProgress(QStringLiteral("Saving “%1”").arg(name));
    SaveRequest told = request;
    told.willReplace = [this] { mHost.willReplaceFile(); };
    MaybeError error = mDocument->writeToPath(told, *progress);
    // A message cannot be answered while a window is busy.
    progress.reset();
    if (!error && !mDocument->saveWarnings().isEmpty())
        mHost.alerts().showWarning(mDocument->saveWarnings().join(u'\n'));
    return error;
}

void SoundController::setNumTracks(int32_t numTracks)
{
    if (numTracks == mSelection->numTracks())
        return;
    mDisplay->forgetCloseUps();
    mSelection->setNumTracks(numTracks);
}

void SoundController::reload()
{
    mDocument->transport().documentDidChange();
    mSelection->showCueTime(mSelection->cueTime());
    mHost.documentDidReload();
}

void SoundController::markersDidChange()
{
    mHost.markersDidChange();
}

std::optional<SoundSelection> SoundController::selectionForUndo() const
{
    return mSelection->value();
}

void SoundController::restoreSelection(const SoundSelection& selection)
{
    mSelection->setSelection(selection);
}

void SoundController::transportDidChange()
{
    mTransport->updateTransportButtons();
}

void SoundController::playbackDidStop()
{
    mTransport->playbackDidStop();
}

void SoundController::recordingDidStop()
{
    mDisplay->forgetCloseUps();
    mRecording->recordingDidStop();
}

} // namespace velloria
