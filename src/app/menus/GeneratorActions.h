#pragma once

#include "effects/GeneratorRegistry.h"

#include <QObject>

class QMenu;

namespace velloria
{

class GeneratorDialog;
class MenuHost;

/// The items that insert computed sound, one a generator of the registry.
class GeneratorActions : public QObject
{
    Q_OBJECT

public:
    /// Adds them to a menu.
    GeneratorActions(MenuHost& window, QMenu& menu);

    /// Shows the generator's sheet, and inserts at the selection.
    void perform(const GeneratorEntry& entry);

private:
    void insert(const std::shared_ptr<Generator>& generator, const std::vector<int>& notes,
                const QString& name);

    MenuHost& mWindow;
};

} // namespace velloria
