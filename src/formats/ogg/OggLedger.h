#pragma once

#include "formats/ledger/FileLedger.h"
#include "platform/FileHandle.h"

#include <set>

namespace velloria
{

/// The account of an Ogg file: the pages of the streams that are read, by their serial numbers, which are in
/// the model; every other stream by what it is; what stands between the pages. Pages are found by their
/// heads; whether their checksums are right is seen when they are decoded.
FileLedger oggLedger(const FileHandle& handle, const std::set<uint32_t>& serialNumbersRead);

} // namespace velloria
