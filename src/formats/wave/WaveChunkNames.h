#pragma once

#include "formats/chunks/RiffChunkList.h"
#include "formats/ledger/FileLedger.h"

#include <QStringList>

namespace velloria
{

/// What becomes of a chunk when the file is saved, and the metadata's keys that were taken from its texts.
struct WaveChunkFate {
    Keeping keeping = Keeping::notKept;
    QStringList keysTaken;
};

/// A chunk or an entry of a list for a person: "cue points (cue )".
QString nameOfWaveChunk(FourCharCode ident);

/// Declares the payload of a chunk that is not taken in as a whole. Filler, what follows from the samples and
/// the name of the writing program are structure; all else is named, lists by their entries: "cue points
/// (cue )", the tag "artist (IART)".
void declareWaveChunk(const RiffChunk& chunk, const FileHandle& handle, ChunkByteOrder byteOrder,
                      const WaveChunkFate& fate, FileLedger& ledger);

} // namespace velloria
