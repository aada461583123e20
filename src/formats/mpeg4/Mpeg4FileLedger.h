#pragma once

#include "formats/mpeg4/Mpeg4Layout.h"
#include "formats/mpeg4/Mpeg4Tags.h"

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

/// The account of everything in an MPEG-4 file: its boxes leaf by leaf, other tracks with their samples as
/// streams, and the bytes between samples that no track uses. What is no part of the model counts as carried
/// over, because a writer that puts new sound into the opened file (Mpeg4Splice) keeps it; others tell it.
FileLedger mpeg4Ledger(const FileHandle& file, const Mpeg4Layout& layout, const Mpeg4Model& model);

} // namespace velloria
