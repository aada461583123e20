#pragma once

#include "formats/ledger/FileLedger.h"

namespace velloria
{

/// Declares a sound whose first frame is not at 0 in its stream, as one that was cut out of a longer one: a
/// save that encodes begins at 0. Nothing for 0.
void declareStartTime(double seconds, FileLedger& ledger);

} // namespace velloria
