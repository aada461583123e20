#include "effects/presets/Preset.h"

#include "platform/FileHandle.h"
#include "platform/Log.h"
#include "platform/UserDefaults.h"

#include <algorithm>

namespace velloria
{

namespace
{

using Kind = PresetMenuItem::Kind;

const PresetManager& manager()
{
    return PresetManager::defaultManager();
}

} // namespace

Preset::Preset(Filter& target, PresetDelegate& delegate, Changer change)
    : mTarget(target)
    , mDelegate(delegate)
    , mChange(std::move(change))
{
}

bool Preset::isUserPresetSelected() const
{
    return !mPresetFile.empty() && !PresetManager::isFactoryPreset(mPresetFile);
}

size_t Preset::selectedItem() const
{
    size_t found = 0;
    for (size_t i = 0; i < mItems.size(); ++i) {
        if (mItems[i].kind == Kind::preset && mItems[i].file == mPresetFile)
            return i;
        if (mItems[i].kind == Kind::none)
            found = i;
    }
    return found;
}

std::vector<std::filesystem::path> Preset::factoryPresets() const
{
    return manager().listOfFactoryPresetsInDirectory(folderName());
}

void Preset::updatePresetButton()
{
    mItems = {{Kind::make, {}}};
    if (isUserPresetSelected())
        mItems.push_back({Kind::remove, {}});
    mItems.push_back({Kind::separator, {}});
    mItems.push_back({Kind::none, {}});
    const std::vector<std::filesystem::path> files = manager().listOfPresetsInFolderNamed(folderName());
    if (!files.empty())
        mItems.push_back({Kind::separator, {}});
    for (const std::filesystem::path& file : files)
        mItems.push_back({Kind::preset, file});
    mDelegate.presetMenuDidChange();
}

/// By kind, not by place: "None" would do nothing where no preset of a person is selected, but it has to undo
/// the choice of one that came with the program.
void Preset::handlePresetButton(size_t index)
{
    if (index >= mItems.size())
        return;
    const PresetMenuItem item = mItems[index];
    switch (item.kind) {
    case Kind::make:
        mDelegate.savePresetAs();
        break;
    case Kind::remove:
        updatePresetButton();
        if (isUserPresetSelected())
            mDelegate.askConfirmDeletePreset();
        else
            logLine(QStringLiteral("No preset is selected, so nothing can be deleted."));
        break;
    case Kind::none:
        selectNoPreset();
        break;
    case Kind::preset:
        if (const MaybeError error = loadPreset(item.file))
            mDelegate.presetFailed(*error);
        break;
    case Kind::separator:
        break;
    }
}

void Preset::selectNoPreset()
{
    mPresetFile.clear();
    updatePresetButton();
}

MaybeError Preset::loadPreset(const std::filesystem::path& file)
{
    MaybeError error;
    const QByteArray data = manager().read(file, &error);
    if (!error)
        mChange([this, &data, &error] { error = mTarget.loadPresetData(data); });
    if (!error)
        mPresetFile = file;
    updatePresetButton();
    return error;
}

MaybeError Preset::loadPresetWithName(const QString& name)
{
    // The extension of a listed file may be in capitals.
    for (const std::filesystem::path& file : manager().listOfPresetsInFolderNamed(folderName()))
        if (PresetManager::nameOfPreset(file) == name)
            return loadPreset(file);
    return loadPreset(manager().pathForPreset(folderName(), name));
}

std::filesystem::path Preset::fileForName(const QString& name) const
{
    return manager().pathForPreset(folderName(), PresetManager::fileNameForName(name));
}

bool Preset::hasPresetNamed(const QString& name) const
{
    std::error_code ignored;
    return std::filesystem::exists(fileForName(name), ignored);
}

MaybeError Preset::okSavePreset(const QString& name)
{
    MaybeError error;
    if (manager().pathCreatingPresetFolderWithName(folderName(), &error).empty())
        return error;
    const std::filesystem::path file = fileForName(name);
    if ((error = manager().write(file, mTarget.presetData())))
        return error;
    mPresetFile = file;
    updatePresetButton();
    return std::nullopt;
}

void Preset::deletePreset()
{
    if (!isUserPresetSelected())
        return;
    std::error_code ignored;
    const bool exists = std::filesystem::exists(std::filesystem::symlink_status(mPresetFile, ignored));
    const MaybeError error = exists ? manager().remove(mPresetFile) : std::nullopt;
    if (error)
        logLine(QStringLiteral("Error removing preset: ") + error->message);
    selectNoPreset();
    if (error)
        mDelegate.presetFailed(*error);
}

MaybeError Preset::renamePreset(const std::filesystem::path& file, const QString& name)
{
    if (MaybeError error = manager().rename(file, name))
        return error;
    if (mPresetFile == file)
        mPresetFile = fileForName(name);
    updatePresetButton();
    return std::nullopt;
}

MaybeError Preset::removePreset(const std::filesystem::path& file)
{
    if (MaybeError error = manager().remove(file))
        return error;
    if (mPresetFile == file)
        mPresetFile.clear();
    updatePresetButton();
    return std::nullopt;
}

MaybeError Preset::importPreset(const std::filesystem::path& source)
{
    MaybeError error;
    const QByteArray data = manager().read(source, &error);
    if (error)
        return error;
    if ((error = PresetRecord::refusal(*mTarget.presetFormat(), data, mTarget.parameters())))
        return error;
    if (manager().pathCreatingPresetFolderWithName(folderName(), &error).empty())
        return error;
    const std::filesystem::path file = fileForName(PresetManager::nameOfPreset(source));
    std::error_code ignored;
    if (!std::filesystem::equivalent(source, file, ignored))
        error = manager().write(file, data);
    updatePresetButton();
    return error;
}

MaybeError Preset::exportPreset(const std::filesystem::path& file, const std::filesystem::path& target) const
{
    MaybeError error;
    const QByteArray data = manager().read(file, &error);
    return error ? error : manager().write(target, data);
}

/// "filter.delayEcho.preset": beside the effect's parameters.
QString Preset::settingsKey() const
{
    const QString sibling = mTarget.parameters().isEmpty() ? QString() : mTarget.parameters()[0].settingsKey;
    return sibling.section(u'.', 0, 1) + QStringLiteral(".preset");
}

void Preset::saveDefaults() const
{
    if (mPresetFile.empty())
        UserDefaults::standard().removeValue(settingsKey());
    else
        UserDefaults::standard().setValue(settingsKey(), displayName(mPresetFile));
}

void Preset::loadPresetFromDefaults()
{
    const std::filesystem::path name = pathFromQString(UserDefaults::standard().stringValue(settingsKey()));
    std::vector<std::filesystem::path> files = manager().listOfPresetsInFolderNamed(folderName());
    const std::vector<std::filesystem::path> factory = factoryPresets();
    files.insert(files.end(), factory.begin(), factory.end());
    const auto found = std::find_if(files.begin(), files.end(),
                                    [&name](const auto& file) { return file.filename() == name; });
    // One that is gone or damaged since is no reason to keep anybody from the effect.
    if (found == files.end() || loadPreset(*found))
        updatePresetButton();
}

} // namespace velloria
