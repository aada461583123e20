#pragma once

#include "formats/caf/CafChunkList.h"

namespace velloria
{

/// Declares the payload of a chunk that is not taken in. Filler and what follows from the format or the
/// samples are structure; all else is told as a person would read it: "regions (regn)".
void declareCafChunk(const CafChunk& chunk, const FileHandle& handle, FileLedger& ledger);

} // namespace velloria
