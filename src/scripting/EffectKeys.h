#pragma once

#include "effects/frame/EffectParameters.h"
#include "scripting/CommandDictionary.h"

namespace velloria
{

/// The keys of the commands that effects and generators have.
namespace EffectKeys
{
/// One for each parameter that a script can set.
std::vector<CommandParameter> keysOf(const EffectParameters& parameters);
} // namespace EffectKeys

} // namespace velloria
