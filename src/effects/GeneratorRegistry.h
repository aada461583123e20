#pragma once

#include "effects/generators/Generator.h"

#include <functional>

namespace velloria
{

/// One kind of sound that the program can make: how menus and scripts name it, and how it is made.
struct GeneratorEntry {
    QString menuTitle;  ///< "Insert Tone..."
    QString scriptName; ///< "insert tone"
    QString summary;    ///< one sentence for help texts
    std::function<std::unique_ptr<Generator>(const QString& name)> make;
};

namespace GeneratorRegistry
{
const std::vector<GeneratorEntry>& generators();
const GeneratorEntry* generatorWithScriptName(const QString& name);
} // namespace GeneratorRegistry

} // namespace velloria
