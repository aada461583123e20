#pragma once

#include "document/MarkerChanges.h"
#include "document/SoundDocument.h"

#include <QUndoCommand>
#include <optional>

namespace velloria
{

/// One step of a document's history. It holds the other state of just those things that the step changed;
/// undoing and redoing both exchange it with the document's. Of several changes of one thing only the value
/// before the first is kept, and of marker lists only how they differ, so a step stays small: a hundred
/// thousand of them take some twenty megabytes.
class DocumentStep : public QUndoCommand
{
public:
    /// Starts recording; notes the selection.
    explicit DocumentStep(SoundDocument& document);

    // Called before each change with the value that is about to be replaced.
    void willReplaceTracks(const TrackList& tracks);
    void willReplaceMarkers(const MarkerList& next, MarkerDifference difference);
    void willSpliceMarkers(MarkerDifference difference);
    void willReplaceMetadata(const AudioMetadata& metadata);
    void willReplaceSampleRate(double sampleRate);
    void willReplaceSampleSize(int64_t sampleSize);
    void willChangeMarker(const AudioMarkerPtr& marker);

    /// Ends recording: forgets what came back to its first value, notes the selection. False when the step
    /// changes nothing.
    bool finish();

    void undo() override;
    /// The stack calls this once when it takes the step over; the changes are then already made.
    void redo() override;

private:
    /// A chosen sample size and the option of the last save, whichever was chosen later: both are exchanged,
    /// so that a plain save writes what it would have written then.
    struct SampleWidth {
        int64_t sampleSize = 0;
        int fileOptionTag = 0;
    };
    /// What few steps change, apart so that the others need no room for it.
    struct Rare {
        std::optional<AudioMetadata> metadata;
        std::optional<double> sampleRate;
        std::optional<SampleWidth> sampleWidth;
    };

    Rare& rare();
    void forgetUnchanged();
    MarkerChanges& markerChanges();
    void exchange();
    void exchangeRare();
    void tellControllers(const std::optional<SoundSelection>& selection);
    std::optional<SoundSelection> presentSelection() const;

    SoundDocument& mDocument;
    TrackList mTracks; ///< null when the step changes no tracks
    std::unique_ptr<MarkerChanges> mMarkerChanges;
    std::unique_ptr<Rare> mRare;
    std::optional<SoundSelection> mSelectionBefore;
    std::optional<SoundSelection> mSelectionAfter;
    bool mIsTakenOver = false;
};

} // namespace velloria
