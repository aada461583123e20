#pragma once

#include "formats/ledger/FileLedger.h"

namespace velloria
{

/// For a reader whose file says that its integers have fewer bits than the room that they take, where a save
/// writes them as wide as their room: the samples stay, what the header says of them does not.
void declareSampleWidth(uint32_t bits, uint32_t writtenBits, FileLedger& ledger);

} // namespace velloria
