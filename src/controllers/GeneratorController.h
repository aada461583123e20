#pragma once

#include "controllers/SelectionModel.h"
#include "effects/generators/NoteGenerator.h"

#include <span>
#include <vector>

namespace velloria
{

/// Puts the sound that a generator makes into a document. Main thread.
class GeneratorController
{
public:
    GeneratorController(SoundDocument& document, SelectionModel& selection, CommandHost& host)
        : mDocument(document)
        , mSelection(selection)
        , mHost(host)
    {
    }

    /// As long as its parameter says, at the selection's start and on its tracks (on one track of a document
    /// without any), as one step of this name; the new sound is selected then. Nothing is replaced. An error,
    /// or a cancelled progress, leaves the document as it was.
    MaybeError insert(Generator& generator, const QString& actionName);
    /// The same with several notes, one after the other, each as long as the parameter says.
    MaybeError insertNotes(NoteGenerator& generator, std::span<const int> notes, const QString& actionName);

private:
    std::vector<uint32_t> seedOfPlace(int64_t numFramesBefore) const;
    /// Null, with the error, for a sound for which there is no room; null alone for one without a frame.
    AudioClipPtr makeClip(Generator& generator, int64_t numFramesBefore, MaybeError* error);
    void place(const std::vector<AudioClipPtr>& clips, const QString& actionName);

    SoundDocument& mDocument;
    SelectionModel& mSelection;
    CommandHost& mHost;
};

} // namespace velloria
