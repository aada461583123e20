#pragma once

#include "formats/file/AudioFile.h"

namespace velloria::test
{

/// The names of the items of a kind that are not in the model.
inline QStringList itemsOutside(const AudioFile& file, ItemKind kind)
{
    return file.ledger().namesOf(kind, [](const FileItem& item) {
        return item.keeping == Keeping::asBytes || item.keeping == Keeping::notKept;
    });
}

inline QStringList chunksOutside(const AudioFile& file)
{
    return itemsOutside(file, ItemKind::part);
}

} // namespace velloria::test
