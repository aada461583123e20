#pragma once

#include <QString>

namespace velloria
{

/// The nearest note of the equal temperament with A4 at 440 Hz and how far it is from it: "A4", "C♯5 +12";
/// the number is in cents. Empty for what is no frequency that a person can hear as a tone.
QString noteName(double frequency);

} // namespace velloria
