#pragma once

#include "effects/EffectRegistry.h"

#include <QObject>
#include <vector>

class QAction;
class QMenuBar;

namespace velloria
{

class MenuHost;

/// The Effects menu: one item an effect of the registry, and the last one again.
class EffectActions : public QObject
{
    Q_OBJECT

public:
    EffectActions(MenuHost& window, QMenuBar& menuBar);
    ~EffectActions() override;

    void update();
    QAction* lastFilterAction() const { return mLast; }
    /// The item of an effect; null for a name that is none.
    QAction* actionNamed(const QString& scriptName) const;

    /// Shows the effect's dialog, if it has one, and applies it to the selection.
    void perform(const EffectEntry& entry);

private:
    void apply(const std::shared_ptr<Filter>& filter);
    void applyLast();

    MenuHost& mWindow;
    QAction* mLast = nullptr;
    std::vector<QAction*> mEffects; ///< in the registry's order
    int mLastFilterToken = 0;
};

} // namespace velloria
