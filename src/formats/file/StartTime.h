#pragma once

#include "formats/ledger/FileLedger.h"

namespace velloria
{

/// Declares a sound whose first frame is not at 0 in its stream, as one that was cut out of a longer one: a
/// save encodes it from 0 on. Nothing for 0.
void declareStartTime(double seconds, FileLedger& ledger);

} // namespace velloria
