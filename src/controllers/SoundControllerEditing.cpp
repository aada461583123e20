#include "controllers/SoundController.h"

#include "display/TimeFormatter.h"
#include "document/AudioClipboard.h"
#include "document/UndoGroup.h"
#include "platform/Log.h"
#include "platform/Pasteboard.h"
#include "platform/UserDefaults.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

/// Tells a marker's place as the ruler would.
class MarkerLister
{
public:
    explicit MarkerLister(double sampleRate)
        : mSampleRate(sampleRate)
    {
        const int64_t units = UserDefaults::standard().integerValue(QStringLiteral("view.ruler.units"));
        if (units != 0)
            mFormatter.setUnits(units);
    }

    QString line(const AudioMarker& marker) const
    {
        // The formatter's own rate is 1: what it shows as samples is the number it is given.
        const double value = mFormatter.units() == kRulerUnitsSamples
                                 ? static_cast<double>(marker.position())
                                 : marker.secondsWithSampleRate(mSampleRate);
        return mFormatter.stringForObjectValue(value) + u'\t' + marker.name() + u'\n';
    }

private:
    double mSampleRate;
    TimeFormatter mFormatter;
};

} // namespace

FrameRange SoundController::framesOfSelection(const SoundDocument& document, const SoundSelection& selection)
{
    const double rate = document.sampleRate();
    return {std::max<int64_t>(0, frameAtTime(selection.startTime, rate)),
            std::min(document.numberOfFrames(), frameAtTime(selection.endTime, rate))};
}

std::shared_ptr<ClipboardClip> SoundController::clipWithSelection(const SoundDocument& document,
                                                                  const SoundSelection& selection,
                                                                  QString* markerListing)
{
    const FrameRange range = framesOfSelection(document, selection);
    auto clip = ClipboardClip::clipWithSampleRate(document.sampleRate());
    if (selection.numTracks < 1)
        logLine(QStringLiteral("SoundController copy: number of tracks in selection is less than one."));
    for (int32_t i = 0; i < selection.numTracks; ++i)
        clip->addTrackWithClips(
            document.clipsAtOffset(range.start, range.length(), selection.firstTrack + i));
    if (markerListing)
        markerListing->clear();
    if (document.audioMarkers()->empty())
        return clip;

    const MarkerLister lister(document.sampleRate());
    std::vector<AudioMarkerPtr> markers;
    for (const AudioMarkerPtr& marker : document.orderedMarkers()) {
        if (marker->position() < range.start || marker->position() > range.end)
            continue;
        markers.push_back(AudioMarker::markerWithMarker(*marker));
        markers.back()->setPosition(marker->position() - range.start);
        if (markerListing)
            markerListing->append(lister.line(*marker));
    }
    clip->addMarkers(markers);
    return clip;
}

void SoundController::copy()
{
    copyFrom(*mDocument, normalizedSelection());
}

void SoundController::copyFrom(const SoundDocument& document, const SoundSelection& selection)
{
    QString listing;
    std::shared_ptr<ClipboardClip> clip = clipWithSelection(document, selection, &listing);
    Pasteboard::general().setText(listing);
    AudioClipboard::clipboard().setContents(std::move(clip));
}

void SoundController::cut(const QString& actionName)
{
    if (isSelectionEmpty())
        return;
    copy();
    deleteSelection(actionName);
}

bool SoundController::canPaste() const
{
    return AudioClipboard::clipboard().hasContent();
}

bool SoundController::paste(const QString& actionName, MaybeError* error)
{
    const std::shared_ptr<ClipboardClip> clip = AudioClipboard::clipboard().contents();
    MaybeError failure;
    if (!clip)
        failure =
            Error{Error::Code::failed, QStringLiteral("There is nothing to paste: nothing was copied.")};
    if (!failure)
        failure = checkRoomFor(clip->duration());
    if (!failure)
        failure = checkMarkerCount(clip->numMarkers());
    std::vector<AudioTrackPtr> tracks;
    if (!failure)
        tracks = tracksOfClip(*clip, clip->numTracks(), QStringLiteral("Pasting Audio"), &failure);
    if (failure) {
        if (error)
            *error = failure;
        return false;
    }
    const UndoGroup group(*mDocument, actionName);
    installPasted(*clip, tracks);
    return true;
}

void SoundController::installPasted(const ClipboardClip& clip, const std::vector<AudioTrackPtr>& tracks)
{
    const SoundSelection selection = normalizedSelection();
    const double rate = mDocument->sampleRate();
    const FrameRange range = {frameAtTime(selection.startTime, rate), frameAtTime(selection.endTime, rate)};
    // Tracks beyond the document's last are dropped.
    const int32_t numPasted =
        std::min(static_cast<int32_t>(tracks.size()), mDocument->trackCount() - selection.firstTrack);
    int64_t numFrames = 0;
    for (int32_t i = 0; i < numPasted; ++i) {
        const AudioTrack& track = *tracks[static_cast<size_t>(i)];
        mDocument->replaceDataAtOffset(range.start, range.length(), selection.firstTrack + i, track.clips());
        numFrames = track.length();
    }
    if (selection.firstTrack == 0)
        pasteMarkers(clip, range, numFrames);
    setSelection({selection.startTime, selection.startTime + static_cast<double>(numFrames) / rate,
                  selection.firstTrack, std::max(0, numPasted)});
}

void SoundController::pasteMarkers(const ClipboardClip& clip, const FrameRange& replaced, int64_t numFrames)
{
    const std::vector<AudioMarkerPtr> pasted = clip.markersAtSampleRate(mDocument->sampleRate());
    const int64_t shift = numFrames - replaced.length();
    MarkerEdit edit(*mDocument->audioMarkers());
    for (const AudioMarkerPtr& marker : *mDocument->audioMarkers()) {
        if (marker->position() >= replaced.end)
            edit.moveTo(marker, marker->position() + shift);
        else if (marker->position() >= replaced.start)
            edit.drop(marker);
        else
            edit.moveTo(marker, marker->position());
    }
    for (const AudioMarkerPtr& marker : pasted) {
        marker->setPosition(marker->position() + replaced.start);
        edit.add(marker);
    }
    mDocument->undoableEditAudioMarkers(std::move(edit));
}

void SoundController::replaceSelection(const SoundSelection& selection, const AudioClipPtr& clip)
{
    const FrameRange range = framesOfSelection(*mDocument, selection);
    for (int32_t i = 0; i < selection.numTracks; ++i)
        mDocument->replaceDataAndMarkersAtOffset(range.start, range.length(), selection.firstTrack + i, clip);
}

void SoundController::deleteSelection(const QString& actionName)
{
    SoundSelection selection = normalizedSelection();
    if (selection.startTime == selection.endTime)
        return;
    const UndoGroup group(*mDocument, actionName.isEmpty() ? QStringLiteral("Delete") : actionName);
    replaceSelection(selection, nullptr);
    selection.endTime = selection.startTime;
    setSelection(selection);
    mHost.revealSelection();
}

void SoundController::clear(const QString& actionName)
{
    const SoundSelection selection = normalizedSelection();
    // As many frames as are taken out, so that nothing behind them moves, wherever the selection's ends lie
    // between two frames.
    const int64_t numFrames = framesOfSelection(*mDocument, selection).length();
    if (selection.startTime == selection.endTime || numFrames < 1)
        return;
    const UndoGroup group(*mDocument, actionName);
    replaceSelection(selection, std::make_shared<AudioClip>(numFrames));
}

void SoundController::crop(const QString& actionName)
{
    const SoundSelection selection = normalizedSelection();
    if (selection.startTime == selection.endTime)
        return;
    const UndoGroup group(*mDocument, actionName);
    mDocument->cropFrom(selection.startTime, selection.endTime, selection.firstTrack, selection.numTracks);
    selectAll();
    mHost.constrainRevealed();
}

void SoundController::undo()
{
    mDocument->undoManager().undo();
}

void SoundController::redo()
{
    mDocument->undoManager().redo();
}

std::shared_ptr<SoundDocument> SoundController::documentForCopyingFrom(const std::filesystem::path& path,
                                                                       MaybeError* error)
{
    const std::unique_ptr<Progress> progress =
        mHost.beginProgress(QStringLiteral("Opening “%1”").arg(displayName(path)));
    return mRecentDocuments.documentAtPath(path, *progress, error);
}

double SoundController::nearestZeroCrossingWithin(double halfWidth, double time, int32_t track) const
{
    const TrackList tracks = mDocument->audioTracks();
    const double start = std::max(0.0, time - halfWidth);
    const double end = std::min(mDocument->totalTime(), time + halfWidth);
    if (!(halfWidth > 0.0) || !(start < end) || track < 0 || static_cast<size_t>(track) >= tracks->size())
        return time;
    const double rate = mDocument->sampleRate();
    const int64_t first = frameAtTime(start, rate);
    const FloatBuffer samples =
        (*tracks)[static_cast<size_t>(track)]->sampleDataAtOffset(first, frameAtTime(end, rate) - first);
    double nearest = time;
    double nearestDistance = INFINITY;
    for (size_t i = 1; i < samples.size(); ++i) {
        if ((samples[i - 1] < 0.0F) == (samples[i] < 0.0F))
            continue;
        const double crossing = static_cast<double>(first + static_cast<int64_t>(i)) / rate;
        // The earlier of two at the same distance stays.
        if (std::abs(crossing - time) < nearestDistance) {
            nearest = crossing;
            nearestDistance = std::abs(crossing - time);
        }
    }
    return nearest;
}

} // namespace velloria
