#pragma once

#include "formats/mpeg4/Mpeg4Layout.h"
#include "formats/mpeg4/Mpeg4Tags.h"

#include <map>

namespace velloria
{

/// Which tracks of a file are the document.
struct Mpeg4Model {
    uint32_t soundTrackID = 0;
    /// The text track that the markers were read from; 0 for none.
    uint32_t chapterTrackID = 0;
    /// Values that are not written as they were read.
    std::vector<Mpeg4Tags::AlteredValue> alteredValues;
};

/// An item of the ledger whose fate hangs on a value of the metadata.
struct Mpeg4BoundItem {
    enum class Bond {
        wording, ///< tells how the value is written anew; says nothing any more when the value is replaced
        value,   ///< stays as long as the value does
        key      ///< stays as long as there is any value
    };
    QString key;
    Bond bond = Bond::value;
};

struct Mpeg4Account {
    FileLedger ledger;
    /// By where their bytes begin.
    std::map<int64_t, Mpeg4BoundItem> boundItems;
};

/// The account of everything in an MPEG-4 file: its boxes leaf by leaf, other tracks with their samples as
/// streams, and the bytes between samples that no track uses. What is no part of the model counts as carried
/// over, because a writer that puts new sound into the opened file (Mpeg4Splice) keeps it; others tell it.
Mpeg4Account mpeg4Account(const FileHandle& file, const Mpeg4Layout& layout, const Mpeg4Model& model);

} // namespace velloria
