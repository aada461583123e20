#include "app/effects/PresetInstaller.h"

#include "app/effects/PresetList.h"
#include "app/progress/WindowAlerts.h"
#include "effects/VelloriaPreset.h"
#include "effects/presets/PresetManager.h"
#include "platform/FileHandle.h"

#include <QCoreApplication>
#include <QMessageBox>
#include <QPushButton>

namespace velloria
{

namespace
{

/// Says that it was done; true to put it where the effect's dialog looks as well, which is offered where that
/// is another folder.
bool sayInstalled(const VelloriaPreset::Installed& installed, QWidget* window)
{
    QMessageBox box(
        QMessageBox::Information, QString(),
        //: %1 is the name of a preset, %2 that of a folder of presets ("Delay")
        //% "“%1” was added to the presets of “%2”."
        qtTrId("preset-installed").arg(PresetManager::nameOfPreset(installed.file), installed.folderName),
        QMessageBox::NoButton, window, Qt::Sheet);
    box.setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
    QPushButton* const done = box.addButton(qtTrId("ok"), QMessageBox::AcceptRole);
    box.setDefaultButton(done);
    box.setEscapeButton(done);
    const QPushButton* add = nullptr;
    if (!installed.isListed()) {
        //: %1 is the name of a folder of presets
        //% "The effect’s own menu shows the folder “%1”, which has another name."
        box.setInformativeText(qtTrId("preset-elsewhere").arg(installed.effectFolderName));
        //% "Add to That Menu"
        add = box.addButton(qtTrId("preset-elsewhere-add"), QMessageBox::ActionRole);
    }
    box.exec();
    return add && box.clickedButton() == add;
}

} // namespace

bool PresetInstaller::isPreset(const std::filesystem::path& file)
{
    return PresetManager::isPresetFile(file);
}

void PresetInstaller::install(const std::filesystem::path& file, QWidget* window)
{
    MaybeError error;
    const auto ask = [window](const QString& name) { return PresetList::confirmsReplacing(name, window); };
    const std::optional<VelloriaPreset::Installed> installed = VelloriaPreset::install(file, ask, &error);
    if (installed && sayInstalled(*installed, window))
        VelloriaPreset::installForEffect(*installed, ask, &error);
    if (error && !error->isUserCancelled())
        WindowAlerts(window).showError(qtTrId("open-error").arg(displayName(file), error->message));
}

} // namespace velloria
