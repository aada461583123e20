#include "app/menus/GeneratorActions.h"

#include "app/effects/NoteSheet.h"
#include "app/look/EffectWords.h"
#include "app/menus/Commands.h"
#include "app/menus/MenuHost.h"
#include "app/progress/WindowAlerts.h"
#include "app/waveform/WaveformView.h"
#include "controllers/GeneratorController.h"
#include "controllers/SelectionModel.h"
#include "controllers/TransportController.h"

#include <QMenu>

namespace velloria
{

GeneratorActions::GeneratorActions(MenuHost& window, QMenu& menu)
    : QObject(&menu)
    , mWindow(window)
{
    for (const GeneratorEntry& entry : GeneratorRegistry::generators()) {
        QAction* const action = Commands::add(menu, EffectWords::menuTitle(entry.menuTitle), {},
                                              [this, &entry] { perform(entry); });
        action->setToolTip(EffectWords::word(entry.summary));
    }
}

void GeneratorActions::perform(const GeneratorEntry& entry)
{
    const QString name = EffectWords::title(entry.menuTitle);
    const QString summary = EffectWords::word(entry.summary);
    const std::shared_ptr<Generator> generator = entry.make(name);
    const auto notes = std::dynamic_pointer_cast<NoteGenerator>(generator);
    generator->parameters().loadSettings();
    // Notes are short, however long the selection is.
    const double selected = mWindow.controller().selection().normalizedSelection().duration();
    if (selected > 0 && !notes)
        generator->parameters().setValue(Generator::kDuration, selected);
    const double rate = mWindow.document().sampleRate();
    NoteSheet* sheet = nullptr;
    GeneratorDialog* dialog = nullptr;
    if (notes)
        dialog = sheet = new NoteSheet(notes, name, summary, rate, &mWindow.widget());
    else
        dialog = new GeneratorDialog(generator, name, summary, rate, &mWindow.widget());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &GeneratorDialog::previewWillStart, this,
            [this] { mWindow.controller().transport().stopAudio(); });
    connect(dialog, &QDialog::accepted, this, [this, generator, sheet, name] {
        const std::vector<int> played = sheet ? sheet->notes() : std::vector<int>();
        // The dialog is gone before the work begins, so that its progress stands alone.
        QMetaObject::invokeMethod(
            this, [this, generator, played, name] { insert(generator, played, name); }, Qt::QueuedConnection);
    });
    connect(dialog, &QDialog::finished, this, [this] { mWindow.view().setFocus(); });
    dialog->open();
}

void GeneratorActions::insert(const std::shared_ptr<Generator>& generator, const std::vector<int>& notes,
                              const QString& name)
{
    SoundController& controller = mWindow.controller();
    GeneratorController inserter(controller.document(), controller.selection(), controller.host());
    const bool wasEmpty = mWindow.document().numberOfFrames() == 0;
    auto* const noteGenerator = dynamic_cast<NoteGenerator*>(generator.get());
    const MaybeError error =
        noteGenerator ? inserter.insertNotes(*noteGenerator, notes, name) : inserter.insert(*generator, name);
    mWindow.updateState();
    if (!error && wasEmpty)
        mWindow.view().context().zoomToDefault();
    reportError(mWindow.alerts(), error);
}

} // namespace velloria
