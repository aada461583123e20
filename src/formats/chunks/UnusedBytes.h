#pragma once

#include "formats/ledger/FileLedger.h"
#include "platform/FileHandle.h"

namespace velloria
{

/// Declares bytes that no part of a file uses: zeros fill something up and count as structure; anything else
/// is a part that is not kept, called `name` with its number of bytes for %1.
void declareUnused(FileLedger& ledger, const FileHandle& handle, ByteRange bytes, const QString& name);

} // namespace velloria
