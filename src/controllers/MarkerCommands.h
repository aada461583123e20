#pragma once

#include "controllers/SelectionModel.h"

#include <vector>

namespace velloria
{

class DisplayController;
class TransportController;

/// The commands that put markers into a document: one at the selection or at what is heard, or many. Those
/// of one marker (setName, setPosition, removeAudioMarker) are the document's. Each command is one undo
/// step; an error leaves the document as it was. Main thread.
class MarkerCommands
{
public:
    MarkerCommands(SoundDocument& document, const SelectionModel& selection,
                   const TransportController& transport, DisplayController& display)
        : mDocument(document)
        , mSelection(selection)
        , mTransport(transport)
        , mDisplay(display)
    {
    }

    /// One marker at an empty selection, else one at its start and one at its end; while something plays, one
    /// at what is heard.
    MaybeError insertMarker();
    MaybeError addCueMarker(double time);
    void deleteAllMarkers(const QString& actionName);
    /// Before every passage that is loud after at least 1.9 seconds of quiet.
    MaybeError insertMarkersInGaps(const QString& actionName);
    /// At every grid line (seconds) of the document; an error for a grid of 0 or of too many lines.
    MaybeError insertMarkersAtGridlines(double offset, double spacing, const QString& actionName);
    /// Adds them as one step, unless the document would have too many then.
    MaybeError addMarkers(const std::vector<AudioMarkerPtr>& markers, const QString& actionName);

    /// What is wrong with so many more markers, if anything.
    static MaybeError checkMarkerCount(const SoundDocument& document, int64_t numAdded);

private:
    SoundDocument& mDocument;
    const SelectionModel& mSelection;
    const TransportController& mTransport;
    DisplayController& mDisplay;
};

} // namespace velloria
