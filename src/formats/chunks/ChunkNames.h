#pragma once

#include "platform/FourCharCode.h"

#include <QString>
#include <span>

namespace velloria
{

/// What a chunk of some name holds, in one or two words.
struct ChunkName {
    FourCharCode ident;
    const char* meaning;
};

/// The chunk as a person would read it: "cue points (cue )", or its name alone where `names` does not explain
/// it. Bytes that are no printable characters show as "?".
QString nameOfChunk(FourCharCode ident, std::span<const ChunkName> names);

} // namespace velloria
