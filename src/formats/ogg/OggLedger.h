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

/// The same where the streams are read up to their first end only: of files that were put one behind the
/// other, the further ones are other streams even under the same number. `endOfFirst` becomes where they
/// begin, 0 when there are none.
FileLedger oggLedgerOfFirst(const FileHandle& handle, const std::set<uint32_t>& serialNumbersRead,
                            int64_t* endOfFirst);

/// Whether such an account tells of no other stream.
bool holdsOneOggStream(const FileLedger& ledger);

} // namespace velloria
