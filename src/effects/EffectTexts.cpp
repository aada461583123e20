#include "effects/EffectTexts.h"

#include "effects/EffectRegistry.h"
#include "effects/GeneratorRegistry.h"
#include "effects/presets/PresetManager.h"

namespace velloria
{

namespace
{

constexpr qsizetype kMostWords = 50;

void append(QStringList& texts, const EffectParameters& parameters)
{
    for (const ParameterDescription& parameter : parameters.descriptions())
        texts << parameter.name << parameter.summary
              << parameter.unit
              // A hundred notes are no words.
              << (parameter.choices.size() > kMostWords ? QStringList() : parameter.choices);
}

} // namespace

QString EffectTexts::withoutPoints(QString title)
{
    if (title.endsWith(QLatin1String("...")))
        title.chop(3);
    return title;
}

QStringList EffectTexts::all()
{
    QStringList texts = EffectRemark::texts();
    for (const EffectEntry& entry : EffectRegistry::effects()) {
        texts << withoutPoints(entry.menuTitle) << entry.menuGroup << entry.summary;
        const std::unique_ptr<Filter> filter = entry.make(entry.menuTitle);
        append(texts, filter->parameters());
        const PresetManager& manager = PresetManager::defaultManager();
        for (const std::filesystem::path& file :
             manager.listOfFactoryPresetsInDirectory(filter->presetFolderName()))
            texts << PresetManager::nameOfPreset(file);
    }
    for (const GeneratorEntry& entry : GeneratorRegistry::generators()) {
        texts << withoutPoints(entry.menuTitle) << entry.summary;
        const std::unique_ptr<Generator> generator = entry.make(entry.menuTitle);
        append(texts, generator->parameters());
    }
    texts.removeAll(QString());
    texts.removeDuplicates();
    return texts;
}

} // namespace velloria
