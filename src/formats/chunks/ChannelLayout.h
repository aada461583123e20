#pragma once

#include "formats/ledger/FileLedger.h"
#include "platform/FileHandle.h"

namespace velloria
{

/// True for the payload of a channel layout chunk ("chan" in CAF, "CHAN" in AIFF-C files: tag, bitmap and
/// number of descriptions, 32 bits each, big-endian) that says what any program takes one or two channels
/// for.
bool isPlainChannelLayout(const FileHandle& handle, ByteRange payload);

} // namespace velloria
