#include "document/DocumentRecording.h"
#include "document/DocumentStep.h"
#include "document/UndoGroup.h"

namespace velloria
{

void SoundDocument::beginUndoGroup(const QString& actionName)
{
    if (mGroupDepth++ == 0) {
        mOpenStep = std::make_unique<DocumentStep>(*this);
        mScratchScope.emplace([this] { return scratchLabel(ScratchLabel::Use::computation); });
    }
    if (!actionName.isEmpty() && mOpenStep->text().isEmpty())
        setUndoActionName(actionName);
}

void SoundDocument::setUndoActionName(const QString& actionName)
{
    // A history has many steps but few names: steps that are called alike share one string.
    const QString& name = *mActionNames.insert(actionName);
    if (mOpenStep) {
        mOpenStep->setText(name);
        return;
    }
    // A command that changed nothing must not rename what the one before it did.
    const int last = mUndoStack.index() - 1;
    if (last < 0 || !mUndoStack.text(last).isEmpty())
        return;
    const_cast<QUndoCommand*>(mUndoStack.command(last))->setText(name);
    Q_EMIT mUndoStack.undoTextChanged(mUndoStack.undoText());
}

void SoundDocument::endUndoGroup()
{
    Q_ASSERT(mGroupDepth > 0);
    if (--mGroupDepth > 0)
        return;
    mScratchScope.reset();
    std::unique_ptr<DocumentStep> step = std::move(mOpenStep);
    if (step->finish())
        mUndoStack.push(step.release());
}

void SoundDocument::storeTracks(TrackList tracks)
{
    // The old list is released outside the lock: it may be the last owner of much.
    const std::lock_guard lock(mTracksMutex);
    mAudioTracks.swap(tracks);
}

void SoundDocument::undoableSetAudioTracks(TrackList tracks)
{
    if (!tracks)
        tracks = std::make_shared<const std::vector<AudioTrackPtr>>();
    if (tracks == mAudioTracks || mRecording->isInProgress())
        return;
    const UndoGroup group(*this);
    mOpenStep->willReplaceTracks(mAudioTracks);
    storeTracks(std::move(tracks));
    reload();
}

void SoundDocument::undoableSetAudioMarkers(MarkerList markers)
{
    if (!markers)
        markers = std::make_shared<const std::vector<AudioMarkerPtr>>();
    if (markers == audioMarkers())
        return;
    const UndoGroup group(*this);
    mOpenStep->willReplaceMarkers(markers, MarkerDifference::between(*audioMarkers(), *markers));
    mMarkers.install(markers);
    tellMarkersDidChange();
}

void SoundDocument::undoableEditAudioMarkers(MarkerEdit edit)
{
    if (!edit.hasChange())
        return;
    const UndoGroup group(*this);
    const MarkerList markers = edit.takeList();
    mOpenStep->willReplaceMarkers(markers, edit.takeDifference());
    mMarkers.install(markers);
    tellMarkersDidChange();
}

void SoundDocument::undoableSpliceAudioMarkers(int64_t first, int64_t count,
                                               std::span<const AudioMarkerPtr> others)
{
    const UndoGroup group(*this);
    mOpenStep->willSpliceMarkers(MarkerDifference::splice(mMarkers, first, count, others));
    mMarkers.splice(first, count, others);
    tellMarkersDidChange();
}

void SoundDocument::undoableSetAudioMetadata(const AudioMetadata& metadata)
{
    if (metadata == mAudioMetadata)
        return;
    const UndoGroup group(*this);
    mOpenStep->willReplaceMetadata(mAudioMetadata);
    mAudioMetadata = metadata;
    tellMetadataDidChange();
}

void SoundDocument::undoableSetSampleRate(double newRate)
{
    if (newRate == sampleRate() || mRecording->isInProgress())
        return;
    const UndoGroup group(*this);
    mOpenStep->willReplaceSampleRate(sampleRate());
    mSampleRate = newRate;
    reload();
}

void SoundDocument::undoableSetSampleSize(int64_t sampleSize)
{
    if (sampleSize == mSampleSize)
        return;
    const UndoGroup group(*this);
    mOpenStep->willReplaceSampleSize(mSampleSize);
    mSampleSize = sampleSize;
    // Chosen later than the option of the last save.
    mFileOptionTag = 0;
    reload();
}

void SoundDocument::setName(const QString& name, const AudioMarkerPtr& marker)
{
    if (!marker || marker->name() == name)
        return;
    const UndoGroup group(*this, QStringLiteral("Rename Marker"));
    mOpenStep->willChangeMarker(marker);
    marker->setName(name);
    tellMarkersDidChange();
}

void SoundDocument::setPosition(int64_t position, const AudioMarkerPtr& marker)
{
    if (!marker || marker->position() == position)
        return;
    const UndoGroup group(*this, QStringLiteral("Change Marker Time"));
    mOpenStep->willChangeMarker(marker);
    mMarkers.setPosition(marker, position);
    tellMarkersDidChange();
}

} // namespace velloria
