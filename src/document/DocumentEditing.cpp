#include "document/UndoGroup.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>

namespace velloria
{

namespace
{

using Tracks = std::vector<AudioTrackPtr>;

TrackList trackList(Tracks tracks)
{
    return std::make_shared<const Tracks>(std::move(tracks));
}

/// The same tracks as new objects, panned as updateTrackPanning() pans them, `newTrack` itself among them.
/// The installed objects keep their pan, so that undo brings it back.
TrackList pannedTrackList(const Tracks& tracks, const AudioTrackPtr& newTrack)
{
    Tracks panned;
    panned.reserve(tracks.size());
    for (const AudioTrackPtr& track : tracks) {
        panned.push_back(track == newTrack ? track : AudioTrack::trackWithTrack(*track));
        const bool isRight = panned.size() % 2 == 0;
        panned.back()->setPan(tracks.size() == 1 ? 0.0 : isRight ? 1.0 : -1.0);
    }
    return trackList(std::move(panned));
}

} // namespace

void SoundDocument::replaceDataAtOffset(int64_t offset, int64_t length, int32_t track, const ClipList& clips)
{
    if (track < 0 || track >= trackCount() || (length <= 0 && clips.isEmpty()))
        return;
    Tracks tracks = *mAudioTracks;
    AudioTrackPtr& edited = tracks[static_cast<size_t>(track)];
    edited = AudioTrack::trackWithTrack(*edited);
    const int64_t start = std::max<int64_t>(0, offset);
    if (length > 0)
        edited->removeDataAtOffset(start, length);
    if (!clips.isEmpty())
        edited->insertClips(clips, start);
    undoableSetAudioTracks(trackList(std::move(tracks)));
}

void SoundDocument::replaceDataAndMarkersAtOffset(int64_t offset, int64_t length, int32_t track,
                                                  const AudioClipPtr& clip)
{
    const UndoGroup group(*this);
    replaceDataAtOffset(offset, length, track, clip ? ClipList(clip) : ClipList());
    // Markers belong to all tracks: they move once, with the first track, and stay where they are when an
    // edit leaves that track out.
    if (track == 0)
        scaleMarkersAtOffset(offset, length, clip ? clip->numFrames() : 0);
}

void SoundDocument::scaleMarkersAtOffset(int64_t offset, int64_t length, int64_t newLength)
{
    const double scale = length == 0 ? 0.0 : static_cast<double>(newLength) / static_cast<double>(length);
    MarkerEdit edit(*audioMarkers());
    for (const AudioMarkerPtr& marker : *audioMarkers()) {
        const int64_t distance = marker->position() - offset;
        if (distance >= length)
            edit.moveTo(marker, marker->position() + newLength - length);
        else if (distance < 0)
            edit.moveTo(marker, marker->position());
        else if (newLength == 0)
            edit.drop(marker);
        else
            edit.moveTo(marker,
                        std::llround(static_cast<double>(distance) * scale + static_cast<double>(offset)));
    }
    undoableEditAudioMarkers(std::move(edit));
}

void SoundDocument::cropFrom(double startTime, double endTime, int32_t firstTrack, int32_t numTracks)
{
    const int64_t start = std::max<int64_t>(0, frameAtTime(startTime, sampleRate()));
    const int64_t end = std::min(numberOfFrames(), frameAtTime(endTime, sampleRate()));
    const int32_t first = std::clamp(firstTrack, 0, trackCount());
    const int32_t count = std::clamp(numTracks, 0, trackCount() - first);

    Tracks tracks;
    for (int32_t i = 0; i < count; ++i) {
        tracks.push_back(std::make_shared<AudioTrack>(clipsAtOffset(start, end - start, first + i)));
        if (count >= 2)
            tracks.back()->setPan(i % 2 == 0 ? -1.0 : 1.0);
    }
    MarkerEdit markers(*audioMarkers());
    for (const AudioMarkerPtr& marker : *audioMarkers()) {
        if (marker->position() < start || marker->position() >= end)
            markers.drop(marker);
        else
            markers.moveTo(marker, marker->position() - start);
    }

    const UndoGroup group(*this);
    undoableSetAudioTracks(trackList(std::move(tracks)));
    undoableEditAudioMarkers(std::move(markers));
}

void SoundDocument::setNumTracks(int32_t numTracks)
{
    if (numTracks < 0 || numTracks == trackCount())
        return;
    Tracks tracks(mAudioTracks->begin(), mAudioTracks->begin() + std::min(numTracks, trackCount()));
    while (tracks.size() < static_cast<size_t>(numTracks)) {
        tracks.push_back(AudioTrack::track());
        tracks.back()->setPan(defaultPanForTrackIndex(static_cast<int32_t>(tracks.size()) - 1));
    }
    undoableSetAudioTracks(trackList(std::move(tracks)));
}

void SoundDocument::insertInTracks(const AudioTrackPtr& track, int32_t index)
{
    Tracks tracks = *mAudioTracks;
    tracks.insert(tracks.begin() + std::clamp(index, 0, trackCount()), track);
    undoableSetAudioTracks(pannedTrackList(tracks, track));
}

void SoundDocument::insertInTracks(const AudioTrackPtr& track)
{
    insertInTracks(track, trackCount());
}

void SoundDocument::removeFromTracksAtIndex(int32_t index)
{
    if (index < 0 || index >= trackCount())
        return;
    Tracks tracks = *mAudioTracks;
    tracks.erase(tracks.begin() + index);
    undoableSetAudioTracks(pannedTrackList(tracks, nullptr));
}

void SoundDocument::constrainSelection(SoundSelection& selection) const
{
    const double end = totalTime();
    // The comparisons are written so that a time that is no number becomes 0.
    const auto constrainedTime = [end](double time) { return time > end ? end : time >= 0 ? time : 0.0; };
    selection.startTime = constrainedTime(selection.startTime);
    selection.endTime = constrainedTime(selection.endTime);

    const int32_t count = trackCount();
    selection.firstTrack = std::max(selection.firstTrack, 0);
    // A selection on the last track moves one track up; with one track that makes it -1, "all tracks".
    // Scripts were written for this.
    if (selection.firstTrack >= count - 1)
        selection.firstTrack = count - 2;
    selection.numTracks = std::max(selection.numTracks, 0);
    selection.numTracks = std::min(selection.numTracks, count - selection.firstTrack);
}

void SoundDocument::addMarker(const AudioMarkerPtr& marker)
{
    addMarkers({marker}, QStringLiteral("Add Marker"));
}

void SoundDocument::addMarkers(const std::vector<AudioMarkerPtr>& added, const QString& actionName)
{
    if (added.empty())
        return;
    const UndoGroup group(*this, actionName);
    undoableSpliceAudioMarkers(mMarkers.count(), 0, added);
}

void SoundDocument::removeAudioMarker(const AudioMarkerPtr& marker)
{
    const int64_t index = mMarkers.indexOf(marker);
    if (index < 0)
        return;
    const UndoGroup group(*this, QStringLiteral("Remove Marker"));
    undoableSpliceAudioMarkers(index, 1, {});
}

void SoundDocument::removeAudioMarkers(const std::vector<AudioMarkerPtr>& markers, const QString& actionName)
{
    const std::unordered_set<AudioMarkerPtr> removed(markers.begin(), markers.end());
    MarkerEdit edit(*audioMarkers());
    for (const AudioMarkerPtr& marker : *audioMarkers()) {
        if (removed.contains(marker))
            edit.drop(marker);
        else
            edit.moveTo(marker, marker->position());
    }
    const UndoGroup group(*this, actionName);
    undoableEditAudioMarkers(std::move(edit));
}

} // namespace velloria
