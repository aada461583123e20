#pragma once

#include "formats/caf/CafChunkList.h"

namespace velloria
{

/// Declares the payload of a chunk that is not taken in. Filler and what follows from the format or the
/// samples are structure; all else has this fate, and is named as a person would read it: "regions (regn)".
void declareCafChunk(const CafChunk& chunk, const FileHandle& handle, Keeping keeping, FileLedger& ledger);

} // namespace velloria
