#include "app/menus/EffectActions.h"

#include "app/effects/EffectDialog.h"
#include "app/look/EffectWords.h"
#include "app/menus/Commands.h"
#include "app/menus/MenuHost.h"
#include "app/progress/WindowAlerts.h"
#include "app/waveform/WaveformView.h"
#include "controllers/EffectController.h"
#include "controllers/TransportController.h"
#include "platform/NotificationCenter.h"

#include <QMap>
#include <QMenu>
#include <QMenuBar>

namespace velloria
{

namespace
{

const QString kLastFilterDidChange = QStringLiteral("lastFilterDidChange");

/// The single keys of effects.
QList<QKeySequence> keysOf(const QString& scriptName)
{
    static const QMap<QString, Qt::Key> keys = {
        {QStringLiteral("amplify"), Qt::Key_A},  {QStringLiteral("compress"), Qt::Key_C},
        {QStringLiteral("fade in"), Qt::Key_D},  {QStringLiteral("fade special"), Qt::Key_F},
        {QStringLiteral("fade out"), Qt::Key_G}, {QStringLiteral("normalize"), Qt::Key_N},
        {QStringLiteral("expand"), Qt::Key_X},
    };
    if (scriptName == QLatin1String("noise gate"))
        return {QKeySequence(Qt::ALT | Qt::Key_X)};
    const auto key = keys.find(scriptName);
    return key == keys.end() ? QList<QKeySequence>() : Commands::letter(*key);
}

} // namespace

EffectActions::EffectActions(MenuHost& window, QMenuBar& menuBar)
    : mWindow(window)
{
    //% "Effe&cts"
    QMenu& menu = *menuBar.addMenu(qtTrId("menu-effects"));
    //% "&Last Filter"
    mLast = Commands::add(menu, qtTrId("effects-last"), {QKeySequence(Qt::CTRL | Qt::Key_R)},
                          [this] { applyLast(); });
    menu.addSeparator();
    QMap<QString, QMenu*> groups;
    for (const EffectEntry& entry : EffectRegistry::effects()) {
        QMenu*& group = groups[entry.menuGroup];
        if (!group)
            group = menu.addMenu(EffectWords::word(entry.menuGroup));
        QAction* const action = Commands::add(*group, EffectWords::menuTitle(entry.menuTitle),
                                              keysOf(entry.scriptName), [this, &entry] { perform(entry); });
        action->setToolTip(EffectWords::word(entry.summary));
        group->setToolTipsVisible(true);
        mEffects.push_back(action);
    }
    mLastFilterToken =
        NotificationCenter::standard().addObserver(kLastFilterDidChange, [this](const void*) { update(); });
}

EffectActions::~EffectActions()
{
    NotificationCenter::standard().removeObserver(mLastFilterToken);
}

QAction* EffectActions::actionNamed(const QString& scriptName) const
{
    const std::vector<EffectEntry>& effects = EffectRegistry::effects();
    for (size_t i = 0; i < effects.size(); ++i) {
        if (effects[i].scriptName == scriptName)
            return mEffects[i];
    }
    return nullptr;
}

void EffectActions::update()
{
    const bool hasSound = mWindow.document().numberOfFrames() > 0;
    for (QAction* const action : mEffects)
        action->setEnabled(hasSound);
    const std::shared_ptr<Filter> last = EffectController::lastFilter();
    mLast->setEnabled(hasSound && last);
    QString name = last ? last->name() : QString();
    name.replace(u'&', QLatin1String("&&"));
    mLast->setText(name.isEmpty() ? qtTrId("effects-last") : name);
}

void EffectActions::perform(const EffectEntry& entry)
{
    const std::shared_ptr<Filter> filter = entry.make(EffectWords::title(entry.menuTitle));
    mWindow.controller().effects().setUpFilter(*filter);
    if (!filter->hasOptionsDialog()) {
        apply(filter);
        return;
    }
    filter->loadDefaults();
    auto* const dialog = new EffectDialog(filter, EffectWords::word(entry.summary), &mWindow.widget());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &EffectDialog::previewWillStart, this,
            [this] { mWindow.controller().transport().stopAudio(); });
    // The dialog is gone before the work begins, so that its progress stands alone.
    connect(
        dialog, &QDialog::accepted, this, [this, filter] { apply(filter); }, Qt::QueuedConnection);
    connect(dialog, &QDialog::rejected, this,
            [this] { mWindow.controller().effects().filterWasCancelled(); });
    connect(dialog, &QDialog::finished, this, [this] { mWindow.view().setFocus(); });
    dialog->open();
}

void EffectActions::apply(const std::shared_ptr<Filter>& filter)
{
    const MaybeError error = mWindow.controller().effects().applyFilter(filter);
    NotificationCenter::standard().post(kLastFilterDidChange);
    mWindow.updateState();
    reportError(mWindow.alerts(), error);
}

void EffectActions::applyLast()
{
    const MaybeError error = mWindow.controller().effects().applyLastFilter();
    mWindow.updateState();
    reportError(mWindow.alerts(), error);
}

} // namespace velloria
