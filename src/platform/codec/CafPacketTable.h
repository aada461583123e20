#pragma once

#include "platform/FileHandle.h"
#include "platform/codec/PacketTable.h"

#include <optional>

namespace velloria
{

/// The three numbers at the head of a CAF file's 'pakt' chunk, of which FFmpeg tells only the sum. Nothing
/// when there is no such chunk or it makes no sense.
std::optional<PacketTable> readCafPacketTable(const FileHandle& file);

} // namespace velloria
