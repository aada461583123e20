#pragma once

#include "controllers/SoundControllerHost.h"
#include "document/SoundDocument.h"

namespace velloria
{

/// Selection and cue of one document, in seconds. The commands read the normalized selection, which lies
/// within the document whatever became of that since something was selected. Main thread.
class SelectionModel
{
public:
    /// Nothing is selected, on all tracks.
    SelectionModel(SoundDocument& document, DisplayHost& host);

    /// As it was set.
    const SoundSelection& value() const { return mSelection; }
    /// Start not after end, within the document and its tracks.
    SoundSelection normalizedSelection() const;
    bool isEmpty() const;
    SoundSelection everything() const;
    /// Everything, when the selection is empty; else the selection.
    SoundSelection selectionOrAll() const;

    void setSelection(const SoundSelection& selection);
    void selectAll();
    void selectNone();
    /// From the start of the document to the selection's end, and from its start to the document's end; with
    /// nothing selected, to and from the cue.
    void selectToStart();
    void selectToEnd();

    double cueTime() const { return mCueTime; }
    /// Clamped to the document. What plays is left alone; TransportController::setCueTime() moves it.
    void showCueTime(double seconds);

    int32_t numTracks() const { return mNumTracks; }
    /// The document has so many now: a selection of all tracks stays one.
    void setNumTracks(int32_t numTracks);

private:
    SoundDocument& mDocument;
    DisplayHost& mHost;
    SoundSelection mSelection;
    double mCueTime = 0;
    int32_t mNumTracks = 0;
};

/// NaN becomes 0.
double clampedTime(double seconds, double totalTime);

} // namespace velloria
