#pragma once

#include <QString>
#include <cstdint>
#include <vector>

namespace velloria
{

/// The units of "view.ruler.units" as a person reads them.
namespace RulerUnitNames
{
/// All codes in the order of menus.
const std::vector<int64_t>& codes();
QString name(int64_t code);
/// For a narrow place.
QString shortName(int64_t code);
} // namespace RulerUnitNames

} // namespace velloria
