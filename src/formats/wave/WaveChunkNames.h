#pragma once

#include "formats/chunks/RiffChunkList.h"

#include <QString>

namespace velloria
{

/// True for a chunk that holds nothing of the user's: filler, what follows from the samples, and tags that
/// name only the program that wrote the file.
bool isDispensableWaveChunk(const RiffChunk& chunk, const FileHandle& handle);

/// The chunk as a person would read it: "cue points (cue )", "LIST (INFO)".
QString nameOfWaveChunk(const RiffChunk& chunk, const FileHandle& handle);

} // namespace velloria
