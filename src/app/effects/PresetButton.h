#pragma once

#include "effects/presets/Preset.h"

#include <QPushButton>

class QMenu;

namespace velloria
{

/// The pop-up of an effect's dialog that makes, chooses and deletes presets. The effect outlives it.
class PresetButton : public QPushButton, private PresetDelegate
{
    Q_OBJECT

public:
    PresetButton(Filter& filter, Preset::Changer change, QWidget* parent = nullptr);

    Preset& preset() { return mPreset; }
    /// A control was changed by hand, so the parameters are no preset's any more.
    void userDidChangeParameters();

private:
    void presetMenuDidChange() override;
    void savePresetAs() override;
    void askConfirmDeletePreset() override;
    void presetFailed(const Error& error) override;
    void fillMenu();
    void addItem(const PresetMenuItem& item, size_t index);
    void addFactoryPresets();
    void manage();

    QMenu* mMenu;
    Preset mPreset;
};

} // namespace velloria
