#pragma once

#include "formats/chunks/RiffChunkList.h"

#include <QString>

namespace velloria
{

/// True for a chunk that holds nothing of the user's: filler, and what follows from the format or the
/// samples.
bool isDispensableAiffChunk(const RiffChunk& chunk);

/// The chunk as a person would read it: "annotation (ANNO)".
QString nameOfAiffChunk(const RiffChunk& chunk);

} // namespace velloria
