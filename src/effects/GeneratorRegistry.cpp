#include "effects/GeneratorRegistry.h"

#include "effects/generators/FMGenerator.h"
#include "effects/generators/NoiseGenerator.h"
#include "effects/generators/NoteGenerator.h"
#include "effects/generators/ToneGenerator.h"

#include <algorithm>

namespace velloria::GeneratorRegistry
{

namespace
{

template <typename Kind> std::unique_ptr<Generator> make(const QString& name)
{
    return std::make_unique<Kind>(name);
}

} // namespace

const std::vector<GeneratorEntry>& generators()
{
    static const std::vector<GeneratorEntry> entries = {
        {QStringLiteral("Insert Tone..."), QStringLiteral("insert tone"),
         QStringLiteral("Inserts a tone at the selection's start, on its tracks, and selects it."),
         make<ToneGenerator>},
        {QStringLiteral("Insert Noise..."), QStringLiteral("insert noise"),
         QStringLiteral("Inserts noise at the selection's start, on its tracks, and selects it."),
         make<NoiseGenerator>},
        {QStringLiteral("Insert FM Tone..."), QStringLiteral("insert fm"),
         QStringLiteral("Inserts a tone with a sweeping frequency at the selection's start, on its tracks, "
                        "and selects it."),
         make<FMGenerator>},
        {QStringLiteral("Insert Notes..."), QStringLiteral("insert note"),
         QStringLiteral("Inserts a note at the selection's start, on its tracks, and selects it."),
         make<NoteGenerator>},
    };
    return entries;
}

const GeneratorEntry* generatorWithScriptName(const QString& name)
{
    const auto isNamed = [&name](const GeneratorEntry& entry) {
        return entry.scriptName.compare(name, Qt::CaseInsensitive) == 0;
    };
    const auto found = std::find_if(generators().begin(), generators().end(), isNamed);
    return found == generators().end() ? nullptr : &*found;
}

} // namespace velloria::GeneratorRegistry
