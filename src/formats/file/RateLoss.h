#pragma once

#include <QStringList>

namespace velloria
{

/// What a type that holds whole Hz only makes of a sample rate: one sentence, or none.
QStringList lossOfRateFraction(double sampleRate);

} // namespace velloria
