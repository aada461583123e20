#pragma once

#include "display/TimeFormatter.h"

namespace velloria
{

/// Reads a time as a person types it into a field: in the formatter's units, or in any other with the unit
/// behind the number: "1.5 s", "250 ms", "2 min", "1 h", "44100 samples", "36 ff" (film frames). Seconds;
/// nothing for what is no time.
std::optional<double> timeFromEntry(const TimeFormatter& formatter, QStringView text);

} // namespace velloria
