#pragma once

#include "platform/Error.h"

namespace velloria
{

class FileHandle;

/// What a person is told when FileHandle::numMissedReads() has grown: bytes that were there could not be
/// read. The code is readFailed.
Error missedReadsError(const FileHandle& handle);

} // namespace velloria
