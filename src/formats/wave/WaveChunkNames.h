#pragma once

#include "formats/chunks/RiffChunkList.h"
#include "formats/ledger/FileLedger.h"

namespace velloria
{

/// Declares the payload of a chunk that is not taken in. Filler, what follows from the samples and the name
/// of the writing program are structure; all else is told, lists by their entries: "cue points (cue )", the
/// tag "artist (IART)".
void declareWaveChunk(const RiffChunk& chunk, const FileHandle& handle, ChunkByteOrder byteOrder,
                      FileLedger& ledger);

} // namespace velloria
