#include "document/DocumentStep.h"

namespace velloria
{

DocumentStep::DocumentStep(SoundDocument& document)
    : mDocument(document)
    , mSelectionBefore(presentSelection())
{
}

std::optional<SoundSelection> DocumentStep::presentSelection() const
{
    const auto& controllers = mDocument.controllers();
    return controllers.empty() ? std::nullopt : controllers.front()->selectionForUndo();
}

DocumentStep::Rare& DocumentStep::rare()
{
    if (!mRare)
        mRare = std::make_unique<Rare>();
    return *mRare;
}

void DocumentStep::willReplaceTracks(const TrackList& tracks)
{
    if (!mTracks)
        mTracks = tracks;
}

MarkerChanges& DocumentStep::markerChanges()
{
    if (!mMarkerChanges)
        mMarkerChanges = std::make_unique<MarkerChanges>();
    return *mMarkerChanges;
}

void DocumentStep::willReplaceMarkers(const MarkerList& next, MarkerDifference difference)
{
    markerChanges().addDifference(mDocument.audioMarkers(), next, std::move(difference));
}

void DocumentStep::willSpliceMarkers(MarkerDifference difference)
{
    markerChanges().addSplice(std::move(difference));
}

void DocumentStep::willReplaceMetadata(const AudioMetadata& metadata)
{
    if (!rare().metadata)
        rare().metadata = metadata;
}

void DocumentStep::willReplaceSampleRate(double sampleRate)
{
    if (!rare().sampleRate)
        rare().sampleRate = sampleRate;
}

void DocumentStep::willReplaceSampleSize(int64_t sampleSize)
{
    if (!rare().sampleWidth)
        rare().sampleWidth = {sampleSize, mDocument.mFileOptionTag};
}

void DocumentStep::willChangeMarker(const AudioMarkerPtr& marker)
{
    if (const int64_t index = mDocument.mMarkers.indexOf(marker); index >= 0)
        markerChanges().addState(index, *marker);
}

void DocumentStep::forgetUnchanged()
{
    if (mTracks == mDocument.mAudioTracks)
        mTracks = nullptr;
    if (mMarkerChanges && !mMarkerChanges->finish(mDocument.mMarkers))
        mMarkerChanges.reset();
    if (!mRare)
        return;
    if (mRare->metadata == mDocument.mAudioMetadata)
        mRare->metadata.reset();
    if (mRare->sampleRate == mDocument.sampleRate())
        mRare->sampleRate.reset();
    if (mRare->sampleWidth && mRare->sampleWidth->sampleSize == mDocument.mSampleSize)
        mRare->sampleWidth.reset();
    if (!mRare->metadata && !mRare->sampleRate && !mRare->sampleWidth)
        mRare.reset();
}

bool DocumentStep::finish()
{
    forgetUnchanged();
    mSelectionAfter = presentSelection();
    return mTracks || mMarkerChanges || mRare;
}

void DocumentStep::undo()
{
    if (mMarkerChanges)
        mMarkerChanges->undo(mDocument.mMarkers);
    exchange();
    tellControllers(mSelectionBefore);
}

void DocumentStep::redo()
{
    if (!mIsTakenOver) {
        mIsTakenOver = true;
        return;
    }
    if (mMarkerChanges)
        mMarkerChanges->redo(mDocument.mMarkers);
    exchange();
    tellControllers(mSelectionAfter);
}

void DocumentStep::exchange()
{
    if (mTracks) {
        TrackList present = mDocument.mAudioTracks;
        mDocument.storeTracks(std::move(mTracks));
        mTracks = std::move(present);
    }
    if (mRare)
        exchangeRare();
}

void DocumentStep::exchangeRare()
{
    if (mRare->metadata)
        std::swap(*mRare->metadata, mDocument.mAudioMetadata);
    if (mRare->sampleRate)
        mRare->sampleRate = mDocument.mSampleRate.exchange(*mRare->sampleRate);
    if (mRare->sampleWidth) {
        std::swap(mRare->sampleWidth->sampleSize, mDocument.mSampleSize);
        std::swap(mRare->sampleWidth->fileOptionTag, mDocument.mFileOptionTag);
    }
}

void DocumentStep::tellControllers(const std::optional<SoundSelection>& selection)
{
    // Everything is in place before the first controller looks.
    if (mTracks || (mRare && (mRare->sampleRate || mRare->sampleWidth)))
        mDocument.reload();
    if (mMarkerChanges)
        mDocument.tellMarkersDidChange();
    if (mRare && mRare->metadata)
        mDocument.tellMetadataDidChange();
    if (selection && !mDocument.controllers().empty())
        mDocument.controllers().front()->restoreSelection(*selection);
}

} // namespace velloria
