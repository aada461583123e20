#pragma once

#include "document/clips/SoundSelection.h"

#include <optional>

namespace velloria
{

/// What a document tells the controller of a window that shows it. Main thread.
class DocumentController
{
public:
    virtual ~DocumentController() = default;

    /// The tracks changed: count, length or contents.
    virtual void setNumTracks(int32_t numTracks) = 0;
    virtual void reload() = 0;
    virtual void markersDidChange() = 0;
    virtual void metadataDidChange() {}

    /// Playing began, moved or failed to begin.
    virtual void transportDidChange() {}
    /// The device stands still again.
    virtual void playbackDidStop() {}
    /// All that was recorded is in the document; why it ended is DocumentRecording::endError().
    virtual void recordingDidStop() {}

    /// The selection before and after a step, kept with the step so that undo and redo restore it.
    virtual std::optional<SoundSelection> selectionForUndo() const { return std::nullopt; }
    virtual void restoreSelection(const SoundSelection&) {}
};

} // namespace velloria
