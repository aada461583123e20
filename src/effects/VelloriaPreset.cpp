#include "effects/VelloriaPreset.h"

#include "effects/EffectRegistry.h"
#include "effects/presets/PresetManager.h"
#include "formats/streams/BigEndianInputStream.h"
#include "platform/FileHandle.h"

#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

struct Folder {
    FourCharCode code;
    const char* name;
};

/// The 3-band equaliser's own folder has one space more, which is how its presets were always put away: they
/// are found by who looks there, and installForEffect() puts them where the dialog looks.
constexpr std::array<Folder, 11> kFolders = {{{fourCharCode("comp"), "Compressor"},
                                              {fourCharCode("dlay"), "Delay"},
                                              {fourCharCode("eq03"), "Graphic EQ - 3 Band"},
                                              {fourCharCode("eq10"), "Graphic EQ - 10 Band"},
                                              {fourCharCode("expn"), "Expander"},
                                              {fourCharCode("fade"), "Fade Special"},
                                              {fourCharCode("flan"), "Flanger"},
                                              {fourCharCode("grEQ"), "Graphic Equalizer"},
                                              {fourCharCode("nois"), "Noise Gate"},
                                              {fourCharCode("ptch"), "Pitch and Tempo"},
                                              {fourCharCode("rvrb"), "Reverb"}}};

FourCharCode codeOf(const QByteArray& data)
{
    return data.size() < 4 ? 0 : static_cast<FourCharCode>(BigEndianInputStream(data).readSInt32());
}

/// The effect whose records have this code, the first of those that share it.
std::unique_ptr<Filter> effectForCode(FourCharCode code, QString* scriptName)
{
    for (const EffectEntry& entry : EffectRegistry::effects()) {
        std::unique_ptr<Filter> filter = entry.make(entry.menuTitle);
        const PresetFormat* const format = filter->presetFormat();
        if (format && format->layouts.front().code == code) {
            *scriptName = entry.scriptName;
            return filter;
        }
    }
    return nullptr;
}

} // namespace

std::optional<QString> VelloriaPreset::folderForCode(FourCharCode code)
{
    const auto* const found = std::find_if(kFolders.begin(), kFolders.end(),
                                           [code](const Folder& folder) { return folder.code == code; });
    return found == kFolders.end() ? std::nullopt : std::optional(QString::fromLatin1(found->name));
}

std::optional<VelloriaPreset::Installed>
VelloriaPreset::install(const std::filesystem::path& file, const MayReplace& mayReplace, MaybeError* error)
{
    const QByteArray data = PresetManager::defaultManager().read(file, error);
    if (*error)
        return std::nullopt;
    const std::optional<QString> folder = folderForCode(codeOf(data));
    if (!folder) {
        *error = Error{Error::Code::corruptFile,
                       QStringLiteral("“%1” is no preset of any effect.").arg(displayName(file))};
        return std::nullopt;
    }
    Installed installed;
    installed.folderName = *folder;
    if (const auto effect = effectForCode(codeOf(data), &installed.effectScriptName)) {
        installed.effectFolderName = effect->presetFolderName();
        // What no dialog could load has no place in its menu.
        if ((*error = PresetRecord::refusal(*effect->presetFormat(), data, effect->parameters())))
            return std::nullopt;
    }
    if (!savePresetData(data, file, installed, mayReplace, error))
        return std::nullopt;
    return installed;
}

std::optional<VelloriaPreset::Installed>
VelloriaPreset::installForEffect(const Installed& installed, const MayReplace& mayReplace, MaybeError* error)
{
    const QByteArray data = PresetManager::defaultManager().read(installed.file, error);
    Installed again = installed;
    again.folderName = installed.effectFolderName;
    if (*error || !savePresetData(data, installed.file, again, mayReplace, error))
        return std::nullopt;
    return again;
}

bool VelloriaPreset::savePresetData(const QByteArray& data, const std::filesystem::path& source,
                                    Installed& installed, const MayReplace& mayReplace, MaybeError* error)
{
    const PresetManager& manager = PresetManager::defaultManager();
    const std::filesystem::path folder =
        manager.pathCreatingPresetFolderWithName(installed.folderName, error);
    if (folder.empty())
        return false;
    installed.file = PresetManager::isPresetFile(source)
                         ? folder / source.filename()
                         : manager.pathForPreset(installed.folderName, PresetManager::nameOfPreset(source));
    std::error_code ignored;
    // Opened where it lies already: there is nothing to replace by itself.
    if (std::filesystem::equivalent(source, installed.file, ignored))
        return true;
    if (std::filesystem::exists(std::filesystem::symlink_status(installed.file, ignored)) &&
        !mayReplace(PresetManager::nameOfPreset(installed.file))) {
        *error = Error::cancelled();
        return false;
    }
    *error = manager.write(installed.file, data);
    return !*error;
}

} // namespace velloria
