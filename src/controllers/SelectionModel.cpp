#include "controllers/SelectionModel.h"

#include <algorithm>

namespace velloria
{

double clampedTime(double seconds, double totalTime)
{
    return seconds > totalTime ? totalTime : seconds >= 0.0 ? seconds : 0.0;
}

SelectionModel::SelectionModel(SoundDocument& document, DisplayHost& host)
    : mDocument(document)
    , mHost(host)
    , mNumTracks(document.trackCount())
{
    mSelection.numTracks = mNumTracks;
}

SoundSelection SelectionModel::everything() const
{
    return {0.0, mDocument.totalTime(), 0, mDocument.trackCount()};
}

SoundSelection SelectionModel::normalizedSelection() const
{
    const double total = mDocument.numberOfFrames() > 0 ? mDocument.totalTime() : 0.0;
    const int32_t count = mDocument.trackCount();
    SoundSelection selection = mSelection;
    const double start = clampedTime(selection.startTime, total);
    const double end = clampedTime(selection.endTime, total);
    selection.startTime = std::min(start, end);
    selection.endTime = std::max(start, end);
    if (selection.firstTrack < 0) {
        selection.firstTrack = 0;
        selection.numTracks = count;
    }
    selection.firstTrack = std::min(selection.firstTrack, std::max(0, count - 1));
    selection.numTracks = std::clamp(selection.numTracks, 0, count - selection.firstTrack);
    return selection;
}

bool SelectionModel::isEmpty() const
{
    const SoundSelection selection = normalizedSelection();
    return selection.startTime == selection.endTime;
}

SoundSelection SelectionModel::selectionOrAll() const
{
    return isEmpty() ? everything() : normalizedSelection();
}

void SelectionModel::setSelection(const SoundSelection& selection)
{
    if (selection == mSelection)
        return;
    mSelection = selection;
    mHost.selectionDidChange();
}

void SelectionModel::selectAll()
{
    setSelection(everything());
}

void SelectionModel::selectNone()
{
    SoundSelection selection = normalizedSelection();
    selection.endTime = selection.startTime;
    setSelection(selection);
}

void SelectionModel::selectToStart()
{
    SoundSelection selection = normalizedSelection();
    if (isEmpty())
        selection.endTime = mCueTime;
    selection.startTime = 0.0;
    setSelection(selection);
}

void SelectionModel::selectToEnd()
{
    SoundSelection selection = normalizedSelection();
    if (isEmpty())
        selection.startTime = mCueTime;
    selection.endTime = mDocument.totalTime();
    setSelection(selection);
}

void SelectionModel::showCueTime(double seconds)
{
    const double time = clampedTime(seconds, mDocument.totalTime());
    if (time == mCueTime)
        return;
    mCueTime = time;
    mHost.cueDidChange();
}

void SelectionModel::setNumTracks(int32_t numTracks)
{
    if (numTracks == mNumTracks)
        return;
    SoundSelection selection = normalizedSelection();
    if (mSelection.firstTrack <= 0 && mSelection.numTracks >= mNumTracks)
        selection.numTracks = numTracks;
    mNumTracks = numTracks;
    setSelection(selection);
}

} // namespace velloria
