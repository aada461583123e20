#pragma once

#include "document/SoundDocument.h"

namespace velloria
{

/// Keeps an undo group of a document open for as long as it lives, so that every way out of a function ends
/// it. Without a name the step takes that of an enclosing or enclosed group.
class UndoGroup
{
public:
    explicit UndoGroup(SoundDocument& document, const QString& actionName = QString())
        : mDocument(document)
    {
        mDocument.beginUndoGroup(actionName);
    }
    ~UndoGroup() { mDocument.endUndoGroup(); }
    UndoGroup(const UndoGroup&) = delete;
    UndoGroup& operator=(const UndoGroup&) = delete;

private:
    SoundDocument& mDocument;
};

} // namespace velloria
