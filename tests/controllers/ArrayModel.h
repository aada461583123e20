#pragma once

#include "document/DocumentKit.h"

#include <algorithm>
#include <deque>
#include <optional>

namespace velloria::kit
{

/// What a document with its edit commands is, made of plain arrays that are copied for every step.
class ArrayModel
{
public:
    struct Marker {
        int64_t position = 0;
        QString name;
        bool operator==(const Marker&) const = default;
    };
    struct Selection {
        int64_t start = 0;
        int64_t end = 0;
        int32_t firstTrack = 0;
        int32_t numTracks = 0;
        bool operator==(const Selection&) const = default;
    };
    struct Content {
        TrackSamples tracks;
        std::vector<Marker> markers;
        QString title;
        double sampleRate = 44100.0;
        bool operator==(const Content&) const = default;
    };

    explicit ArrayModel(TrackSamples tracks)
    {
        content.tracks = std::move(tracks);
        selection.numTracks = numTracks();
    }

    Content content;
    Selection selection;

    int32_t numTracks() const { return static_cast<int32_t>(content.tracks.size()); }
    int64_t numFrames() const
    {
        int64_t longest = 0;
        for (const FloatBuffer& track : content.tracks)
            longest = std::max(longest, std::ssize(track));
        return longest;
    }

    void copy()
    {
        Clip clip;
        for (int32_t i = 0; i < selection.numTracks; ++i) {
            const FloatBuffer& track = trackAt(selection.firstTrack + i);
            clip.tracks.emplace_back(at(track, selection.start), at(track, selection.end));
        }
        std::vector<Marker> ordered = content.markers;
        std::stable_sort(ordered.begin(), ordered.end(),
                         [](const Marker& a, const Marker& b) { return a.position < b.position; });
        for (const Marker& marker : ordered)
            if (marker.position >= selection.start && marker.position <= selection.end)
                clip.markers.push_back({marker.position - selection.start, marker.name});
        mClip = clip;
    }

    void cut()
    {
        if (selection.start == selection.end)
            return;
        copy();
        deleteSelection();
    }

    void deleteSelection()
    {
        if (selection.start == selection.end)
            return;
        const State before = beginStep();
        replaceSelection(0);
        selection.end = selection.start;
        endStep(before, true);
    }

    void clear()
    {
        if (selection.start == selection.end)
            return;
        const State before = beginStep();
        replaceSelection(selection.end - selection.start);
        endStep(before, true);
    }

    void crop()
    {
        if (selection.start == selection.end)
            return;
        const State before = beginStep();
        Content cropped = {{}, {}, content.title, content.sampleRate};
        for (int32_t i = 0; i < selection.numTracks; ++i) {
            const FloatBuffer& track = trackAt(selection.firstTrack + i);
            cropped.tracks.emplace_back(at(track, selection.start), at(track, selection.end));
        }
        for (const Marker& marker : content.markers)
            if (marker.position >= selection.start && marker.position < selection.end)
                cropped.markers.push_back({marker.position - selection.start, marker.name});
        content = cropped;
        selection = {0, numFrames(), 0, numTracks()};
        endStep(before, true);
    }

    void paste()
    {
        if (!mClip)
            return;
        const State before = beginStep();
        bool hasChange = false;
        int64_t numPasted = 0;
        const int32_t count =
            std::min(static_cast<int32_t>(mClip->tracks.size()), numTracks() - selection.firstTrack);
        for (int32_t i = 0; i < count; ++i) {
            const FloatBuffer& pasted = mClip->tracks[static_cast<size_t>(i)];
            hasChange |= selection.start < selection.end || !pasted.empty();
            replace(trackAt(selection.firstTrack + i), selection.start, selection.end, pasted);
            numPasted = std::ssize(pasted);
        }
        if (selection.firstTrack == 0)
            pasteMarkers(numPasted);
        hasChange |= content.markers != before.content.markers;
        selection = {selection.start, selection.start + numPasted, selection.firstTrack, count};
        endStep(before, hasChange);
    }

    void addMarker(int64_t position, const QString& name)
    {
        const State before = beginStep();
        content.markers.push_back({position, name});
        endStep(before, true);
    }

    void moveMarker(size_t index, int64_t position)
    {
        const State before = beginStep();
        content.markers[index].position = position;
        endStep(before, !(content == before.content));
    }

    void renameMarker(size_t index, const QString& name)
    {
        const State before = beginStep();
        content.markers[index].name = name;
        endStep(before, !(content == before.content));
    }

    void insertSilence(int64_t numZeros)
    {
        const State before = beginStep();
        const FloatBuffer zeros(static_cast<size_t>(numZeros));
        for (int32_t i = 0; i < selection.numTracks; ++i)
            replace(trackAt(selection.firstTrack + i), selection.start, selection.start, zeros);
        for (Marker& marker : content.markers)
            if (selection.firstTrack == 0 && marker.position >= selection.start)
                marker.position += numZeros;
        selection.end = selection.start + numZeros;
        endStep(before, numZeros > 0);
    }

    void addTrack()
    {
        const State before = beginStep();
        const bool isAll = selection.firstTrack == 0 && selection.numTracks == numTracks();
        content.tracks.emplace_back();
        selection.numTracks += isAll ? 1 : 0;
        endStep(before, true);
    }

    void removeSelectedTracks()
    {
        const int32_t count = std::min(selection.numTracks, numTracks() - 1);
        if (count < 1)
            return;
        const State before = beginStep();
        const auto first = content.tracks.begin() + selection.firstTrack;
        content.tracks.erase(first, first + count);
        selection = {std::min(selection.start, numFrames()), std::min(selection.end, numFrames()), 0,
                     numTracks()};
        endStep(before, true);
    }

    void mixdownToMono()
    {
        if (numTracks() == 1)
            return;
        const State before = beginStep();
        FloatBuffer sum(static_cast<size_t>(numFrames()));
        for (const FloatBuffer& track : content.tracks)
            for (size_t i = 0; i < track.size(); ++i)
                sum[i] += track[i] * 0.5F;
        const bool isAll = selection.firstTrack == 0 && selection.numTracks == numTracks();
        content.tracks = {sum};
        selection = {selection.start, selection.end, 0, isAll || selection.numTracks > 0 ? 1 : 0};
        endStep(before, true);
    }

    void setSampleRate(double sampleRate)
    {
        const State before = beginStep();
        content.sampleRate = sampleRate;
        endStep(before, !(content == before.content));
    }

    void setTitle(const QString& title)
    {
        const State before = beginStep();
        content.title = title;
        endStep(before, !(content == before.content));
    }

    void deleteAllMarkers()
    {
        const State before = beginStep();
        content.markers.clear();
        endStep(before, !before.content.markers.empty());
    }

    void undo() { travel(mUndo, mRedo); }
    void redo() { travel(mRedo, mUndo); }

private:
    struct Clip {
        TrackSamples tracks;
        std::vector<Marker> markers;
    };
    struct State {
        Content content;
        Selection selection;
    };
    /// A step's two ends.
    struct Step {
        State before;
        State after;
    };

    FloatBuffer& trackAt(int32_t index) { return content.tracks[static_cast<size_t>(index)]; }
    static FloatBuffer::const_iterator at(const FloatBuffer& track, int64_t frame)
    {
        return track.begin() + std::min(frame, std::ssize(track));
    }

    static void replace(FloatBuffer& track, int64_t start, int64_t end, const FloatBuffer& samples)
    {
        track.erase(at(track, start), at(track, end));
        if (samples.empty())
            return;
        if (std::ssize(track) < start)
            track.resize(static_cast<size_t>(start));
        track.insert(at(track, start), samples.begin(), samples.end());
    }

    void replaceSelection(int64_t numZeros)
    {
        const FloatBuffer zeros(static_cast<size_t>(numZeros));
        for (int32_t i = 0; i < selection.numTracks; ++i)
            replace(trackAt(selection.firstTrack + i), selection.start, selection.end, zeros);
        if (selection.firstTrack == 0 && numZeros == 0)
            removeMarkersOfSelection(0);
    }

    void removeMarkersOfSelection(int64_t newLength)
    {
        std::erase_if(content.markers, [this](const Marker& marker) {
            return marker.position >= selection.start && marker.position < selection.end;
        });
        for (Marker& marker : content.markers)
            if (marker.position >= selection.end)
                marker.position += newLength - (selection.end - selection.start);
    }

    void pasteMarkers(int64_t numPasted)
    {
        removeMarkersOfSelection(numPasted);
        for (const Marker& marker : mClip->markers)
            content.markers.push_back({marker.position + selection.start, marker.name});
    }

    State beginStep() const { return {content, selection}; }
    void endStep(const State& before, bool hasChange)
    {
        if (!hasChange)
            return;
        mUndo.push_back({before, {content, selection}});
        mRedo.clear();
    }

    void travel(std::deque<Step>& from, std::deque<Step>& to)
    {
        if (from.empty())
            return;
        const Step step = from.back();
        from.pop_back();
        const State& state = &from == &mUndo ? step.before : step.after;
        content = state.content;
        selection = state.selection;
        to.push_back(step);
    }

    std::optional<Clip> mClip;
    std::deque<Step> mUndo;
    std::deque<Step> mRedo;
};

} // namespace velloria::kit
