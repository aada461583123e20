#pragma once

#include "effects/frame/Filter.h"
#include "effects/presets/PresetManager.h"

#include <functional>

namespace velloria
{

/// One item of the preset menu of an effect's dialog.
struct PresetMenuItem {
    enum class Kind { make, remove, separator, none, preset };

    Kind kind = Kind::separator;
    std::filesystem::path file; ///< of a preset
};

/// Shows the menu of a Preset and asks what it needs to know. Main thread.
class PresetDelegate
{
public:
    virtual ~PresetDelegate() = default;
    /// Items or selection are others.
    virtual void presetMenuDidChange() = 0;
    /// Ask for a name and give it to Preset::okSavePreset().
    virtual void savePresetAs() = 0;
    /// Ask whether to go on with Preset::deletePreset().
    virtual void askConfirmDeletePreset() = 0;
    virtual void presetFailed(const Error& error) = 0;
};

/// The presets of one effect while its dialog is open: the items of their menu, which one is selected, and
/// what each item does. The effect and the delegate outlive it. Main thread.
class Preset
{
public:
    /// Runs a function that changes the effect's parameters, between two blocks of what is heard.
    using Changer = std::function<void(const std::function<void()>&)>;

    Preset(Filter& target, PresetDelegate& delegate, Changer change);
    Preset(const Preset&) = delete;
    Preset& operator=(const Preset&) = delete;

    /// The selected preset's file; empty when none is.
    const std::filesystem::path& presetFile() const { return mPresetFile; }
    bool isUserPresetSelected() const;
    const std::vector<PresetMenuItem>& items() const { return mItems; }
    /// The one that is ticked: a preset, or "None" (also while a preset of the program is selected).
    size_t selectedItem() const;
    std::vector<std::filesystem::path> factoryPresets() const;

    /// Looks for preset files anew.
    void updatePresetButton();
    /// What an item of the menu does.
    void handlePresetButton(size_t index);
    /// Selects nothing; the parameters stay.
    void selectNoPreset();
    /// Takes the parameters of a preset and selects it. An error changes nothing.
    MaybeError loadPreset(const std::filesystem::path& file);
    MaybeError loadPresetWithName(const QString& name);
    /// Whether a save under this name would replace a preset.
    bool hasPresetNamed(const QString& name) const;
    /// The file that a preset of this name has, or would have.
    std::filesystem::path fileForName(const QString& name) const;
    /// Writes the parameters under this name, in place of what has it, and selects the new preset.
    MaybeError okSavePreset(const QString& name);
    /// Removes the selected preset's file.
    void deletePreset();

    /// The same for any preset of the effect. What is selected stays so, under its new name.
    MaybeError renamePreset(const std::filesystem::path& file, const QString& name);
    MaybeError removePreset(const std::filesystem::path& file);
    /// Copies a file from elsewhere among the effect's presets, in place of what has its name. An error for
    /// a record that the effect does not take.
    MaybeError importPreset(const std::filesystem::path& source);
    MaybeError exportPreset(const std::filesystem::path& file, const std::filesystem::path& target) const;

    /// Keeps which preset is selected for the next time, and selects it then.
    void saveDefaults() const;
    void loadPresetFromDefaults();

private:
    QString folderName() const { return mTarget.presetFolderName(); }
    QString settingsKey() const;

    Filter& mTarget;
    PresetDelegate& mDelegate;
    Changer mChange;
    std::filesystem::path mPresetFile;
    std::vector<PresetMenuItem> mItems;
};

} // namespace velloria
