#pragma once

#include "controllers/SelectionModel.h"
#include "effects/generators/Generator.h"

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

private:
    SoundDocument& mDocument;
    SelectionModel& mSelection;
    CommandHost& mHost;
};

} // namespace velloria
