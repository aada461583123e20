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

void DocumentStep::willReplaceMarkers(const MarkerList& markers)
{
    if (!mMarkers)
        mMarkers = markers;
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

void DocumentStep::willChangeMarker(const AudioMarkerPtr& marker)
{
    for (const MarkerState& state : rare().markerStates)
        if (state.marker == marker)
            return;
    rare().markerStates.push_back({marker, marker->name(), marker->position()});
}

void DocumentStep::forgetUnchanged()
{
    if (mTracks == mDocument.mAudioTracks)
        mTracks = nullptr;
    if (mMarkers == mDocument.mAudioMarkers)
        mMarkers = nullptr;
    if (!mRare)
        return;
    if (mRare->metadata == mDocument.mAudioMetadata)
        mRare->metadata.reset();
    if (mRare->sampleRate == mDocument.sampleRate())
        mRare->sampleRate.reset();
    std::erase_if(mRare->markerStates, [](const MarkerState& state) {
        return state.name == state.marker->name() && state.position == state.marker->position();
    });
    if (!mRare->metadata && !mRare->sampleRate && mRare->markerStates.empty())
        mRare.reset();
}

bool DocumentStep::finish()
{
    forgetUnchanged();
    mSelectionAfter = presentSelection();
    return mTracks || mMarkers || mRare;
}

void DocumentStep::undo()
{
    exchange();
    tellControllers(mSelectionBefore);
}

void DocumentStep::redo()
{
    if (!mIsTakenOver) {
        mIsTakenOver = true;
        return;
    }
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
    if (mMarkers)
        std::swap(mMarkers, mDocument.mAudioMarkers);
    if (mRare)
        exchangeRare();
}

void DocumentStep::exchangeRare()
{
    if (mRare->metadata)
        std::swap(*mRare->metadata, mDocument.mAudioMetadata);
    if (mRare->sampleRate)
        mRare->sampleRate = mDocument.mSampleRate.exchange(*mRare->sampleRate);
    for (MarkerState& state : mRare->markerStates) {
        const MarkerState present = {state.marker, state.marker->name(), state.marker->position()};
        state.marker->setName(state.name);
        state.marker->setPosition(state.position);
        state = present;
    }
}

void DocumentStep::tellControllers(const std::optional<SoundSelection>& selection)
{
    // Everything is in place before the first controller looks.
    if (mTracks || (mRare && mRare->sampleRate))
        mDocument.reload();
    if (mMarkers || (mRare && !mRare->markerStates.empty()))
        mDocument.tellMarkersDidChange();
    if (mRare && mRare->metadata)
        mDocument.tellMetadataDidChange();
    if (selection && !mDocument.controllers().empty())
        mDocument.controllers().front()->restoreSelection(*selection);
}

} // namespace velloria
