#pragma once

#include "formats/chunks/RiffChunkList.h"
#include "formats/ledger/FileLedger.h"

namespace velloria
{

/// Declares the payload of a chunk that is not taken in. Filler and what follows from the format or the
/// samples are structure; all else is told as a person would read it: "annotation (ANNO)".
void declareAiffChunk(const RiffChunk& chunk, const FileHandle& handle, FileLedger& ledger);

} // namespace velloria
