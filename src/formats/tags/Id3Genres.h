#pragma once

#include <QString>
#include <cstdint>

namespace velloria
{

/// The name of a genre number, 0 ("Blues") to 125 ("Dance Hall"): the ID3v1 list with its common
/// extensions. Empty for every other number.
QString nameOfGenre(int64_t number);

/// The code that MPEG-4 files store for a genre (its number plus 1), or -1. Only sixteen names have one;
/// the others are stored as text there.
int numberOfGenre(const QString& name);

} // namespace velloria
