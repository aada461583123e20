#pragma once

#include "formats/file/AudioFile.h"

namespace velloria::test
{

/// The names of the parts that are not in the model.
inline QStringList chunksOutside(const AudioFile& file)
{
    return file.ledger().namesOf(ItemKind::part, [](const FileItem& item) {
        return item.keeping == Keeping::asBytes || item.keeping == Keeping::notKept;
    });
}

} // namespace velloria::test
