#pragma once

#include "effects/frame/Filter.h"

#include <functional>

namespace velloria
{

/// One effect the program has: how menus and scripts name it, and how it is made.
struct EffectEntry {
    QString menuTitle;  ///< "Amplify..." (the ellipsis tells of a dialog)
    QString menuGroup;  ///< "Gain", "Fades", "Channels", ...: entries of a group stand together
    QString scriptName; ///< "amplify"
    QString summary;    ///< one sentence for help texts
    std::function<std::unique_ptr<Filter>(const QString& name)> make;
};

namespace EffectRegistry
{
const std::vector<EffectEntry>& effects();
const EffectEntry* effectWithScriptName(const QString& name);
} // namespace EffectRegistry

} // namespace velloria
