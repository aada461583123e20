#include "controllers/EditCommands.h"

#include "controllers/MarkerCommands.h"
#include "display/TimeFormatter.h"
#include "document/AudioClipboard.h"
#include "document/UndoGroup.h"
#include "document/clips/FrameNumbers.h"
#include "platform/Log.h"
#include "platform/Pasteboard.h"
#include "platform/UserDefaults.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

/// Frames start .. end - 1.
struct FrameRange {
    int64_t start = 0;
    int64_t end = 0;
    int64_t length() const { return end - start; }
};

/// What the tracks hold of a selection's frames.
FrameRange framesOfSelection(const SoundDocument& document, const SoundSelection& selection)
{
    const double rate = document.sampleRate();
    return {std::max<int64_t>(0, frameAtTime(selection.startTime, rate)),
            std::min(document.numberOfFrames(), frameAtTime(selection.endTime, rate))};
}

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

std::shared_ptr<ClipboardClip> EditCommands::clipWithSelection(const SoundDocument& document,
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
    for (const AudioMarkerPtr& marker : *document.orderedMarkers()) {
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

void EditCommands::copy()
{
    copyFrom(mDocument, mSelection.normalizedSelection());
}

void EditCommands::copyFrom(const SoundDocument& document, const SoundSelection& selection)
{
    QString listing;
    std::shared_ptr<ClipboardClip> clip = clipWithSelection(document, selection, &listing);
    Pasteboard::general().setText(listing);
    AudioClipboard::clipboard().setContents(std::move(clip));
}

void EditCommands::cut(const QString& actionName)
{
    if (mSelection.isEmpty())
        return;
    copy();
    deleteSelection(actionName);
}

bool EditCommands::canPaste() const
{
    return AudioClipboard::clipboard().hasContent();
}

MaybeError EditCommands::checkRoomFor(double seconds) const
{
    const double numFrames =
        static_cast<double>(mDocument.numberOfFrames()) + seconds * mDocument.sampleRate();
    if (seconds >= 0.0 && numFrames < static_cast<double>(kMaxFrameNumber))
        return std::nullopt;
    return Error{Error::Code::failed, QStringLiteral("The document would become too long.")};
}

EditCommands::ConvertedTracks EditCommands::tracksOfClip(const ClipboardClip& clip, int32_t numTracks,
                                                         const QString& title, MaybeError* error)
{
    if (clip.sampleRate() == mDocument.sampleRate())
        return {clip.tracks()};
    const std::unique_ptr<Progress> progress = mHost.beginProgress(title);
    ConvertedTracks converted;
    converted.tracks = clip.tracks(numTracks, mDocument.sampleRate(), *progress, error);
    converted.wasCancelled = progress->isCancelled();
    return converted;
}

bool EditCommands::paste(const QString& actionName, MaybeError* error)
{
    const std::shared_ptr<ClipboardClip> clip = AudioClipboard::clipboard().contents();
    MaybeError failure;
    if (!clip)
        failure =
            Error{Error::Code::failed, QStringLiteral("There is nothing to paste: nothing was copied.")};
    if (!failure)
        failure = checkRoomFor(clip->duration());
    if (!failure)
        failure = MarkerCommands::checkMarkerCount(mDocument, clip->numMarkers());
    ConvertedTracks pasted;
    if (!failure)
        pasted = tracksOfClip(*clip, clip->numTracks(), QStringLiteral("Pasting Audio"), &failure);
    if (failure) {
        if (error)
            *error = failure;
        return false;
    }
    const std::optional<PartialResult> partial = partialResultOf(pasted);
    const TrackList before = mDocument.audioTracks();
    {
        const UndoGroup group(mDocument, actionName);
        installPasted(*clip, pasted.tracks);
    }
    // Nothing put in place of nothing is no step.
    if (partial && mDocument.audioTracks() != before)
        mHost.resultIsPartial(*partial);
    return true;
}

std::optional<PartialResult> EditCommands::partialResultOf(const ConvertedTracks& pasted) const
{
    const SoundSelection selection = mSelection.normalizedSelection();
    const auto numTracks = static_cast<int32_t>(pasted.tracks.size());
    if (pasted.wasCancelled)
        return PartialResult::pasteCancelled;
    if (numTracks < selection.numTracks)
        return PartialResult::fewerTracksPasted;
    if (numTracks > mDocument.trackCount() - selection.firstTrack)
        return PartialResult::tracksNotPasted;
    return std::nullopt;
}

void EditCommands::installPasted(const ClipboardClip& clip, const std::vector<AudioTrackPtr>& tracks)
{
    const SoundSelection selection = mSelection.normalizedSelection();
    const double rate = mDocument.sampleRate();
    const FrameRange range = {frameAtTime(selection.startTime, rate), frameAtTime(selection.endTime, rate)};
    // Tracks beyond the document's last are dropped.
    const int32_t numPasted =
        std::min(static_cast<int32_t>(tracks.size()), mDocument.trackCount() - selection.firstTrack);
    int64_t numFrames = 0;
    for (int32_t i = 0; i < numPasted; ++i) {
        const AudioTrack& track = *tracks[static_cast<size_t>(i)];
        mDocument.replaceDataAtOffset(range.start, range.length(), selection.firstTrack + i, track.clips());
        numFrames = track.length();
    }
    if (selection.firstTrack == 0)
        pasteMarkers(clip, range.start, range.end, numFrames);
    mSelection.setSelection({selection.startTime, selection.startTime + static_cast<double>(numFrames) / rate,
                             selection.firstTrack, std::max(0, numPasted)});
}

void EditCommands::pasteMarkers(const ClipboardClip& clip, int64_t start, int64_t end, int64_t numFrames)
{
    const std::vector<AudioMarkerPtr> pasted = clip.markersAtSampleRate(mDocument.sampleRate());
    const int64_t shift = numFrames - (end - start);
    MarkerEdit edit(*mDocument.audioMarkers());
    for (const AudioMarkerPtr& marker : *mDocument.audioMarkers()) {
        if (marker->position() >= end)
            edit.moveTo(marker, marker->position() + shift);
        else if (marker->position() >= start)
            edit.drop(marker);
        else
            edit.moveTo(marker, marker->position());
    }
    for (const AudioMarkerPtr& marker : pasted) {
        marker->setPosition(marker->position() + start);
        edit.add(marker);
    }
    mDocument.undoableEditAudioMarkers(std::move(edit));
}

MaybeError EditCommands::insertSilence(double seconds, const QString& actionName)
{
    if (!std::isfinite(seconds) || seconds < 0.0)
        return Error{Error::Code::failed, QStringLiteral("Silence must last 0 seconds or longer.")};
    if (MaybeError error = checkRoomFor(seconds))
        return error;
    const double rate = mDocument.sampleRate();
    const int64_t numFrames = frameAtTime(seconds, rate);
    if (numFrames < 1)
        return std::nullopt;
    SoundSelection selection = mSelection.normalizedSelection();
    const int64_t start = frameAtTime(selection.startTime, rate);
    const UndoGroup group(mDocument, actionName);
    const auto silence = std::make_shared<AudioClip>(numFrames);
    for (int32_t i = 0; i < selection.numTracks; ++i)
        mDocument.replaceDataAndMarkersAtOffset(start, 0, selection.firstTrack + i, silence);
    selection.endTime = static_cast<double>(start + numFrames) / rate;
    mSelection.setSelection(selection);
    return std::nullopt;
}

void EditCommands::replaceSelection(const SoundSelection& selection, const AudioClipPtr& clip)
{
    const FrameRange range = framesOfSelection(mDocument, selection);
    for (int32_t i = 0; i < selection.numTracks; ++i)
        mDocument.replaceDataAndMarkersAtOffset(range.start, range.length(), selection.firstTrack + i, clip);
}

void EditCommands::deleteSelection(const QString& actionName)
{
    SoundSelection selection = mSelection.normalizedSelection();
    if (selection.startTime == selection.endTime)
        return;
    const UndoGroup group(mDocument, actionName.isEmpty() ? QStringLiteral("Delete") : actionName);
    replaceSelection(selection, nullptr);
    selection.endTime = selection.startTime;
    mSelection.setSelection(selection);
    mHost.revealSelection();
}

void EditCommands::clear(const QString& actionName)
{
    const SoundSelection selection = mSelection.normalizedSelection();
    // As many frames as are taken out, so that nothing behind them moves, wherever the selection's ends lie
    // between two frames.
    const int64_t numFrames = framesOfSelection(mDocument, selection).length();
    if (selection.startTime == selection.endTime || numFrames < 1)
        return;
    const UndoGroup group(mDocument, actionName);
    replaceSelection(selection, std::make_shared<AudioClip>(numFrames));
}

void EditCommands::crop(const QString& actionName)
{
    const SoundSelection selection = mSelection.normalizedSelection();
    if (selection.startTime == selection.endTime)
        return;
    const UndoGroup group(mDocument, actionName);
    mDocument.cropFrom(selection.startTime, selection.endTime, selection.firstTrack, selection.numTracks);
    mSelection.selectAll();
    mHost.constrainRevealed();
}

void EditCommands::undo()
{
    mDocument.undoManager().undo();
}

void EditCommands::redo()
{
    mDocument.undoManager().redo();
}

std::shared_ptr<SoundDocument> EditCommands::documentForCopyingFrom(const std::filesystem::path& path,
                                                                    MaybeError* error)
{
    const std::unique_ptr<Progress> progress =
        mHost.beginProgress(QStringLiteral("Opening “%1”").arg(displayName(path)));
    return mRecentDocuments.documentAtPath(path, *progress, error);
}

} // namespace velloria
