#pragma once

#include <QAction>
#include <QKeySequence>
#include <QString>
#include <functional>

class QMenu;

namespace velloria
{

/// How the menus' actions are made.
namespace Commands
{
/// An action in a menu. Where there are several shortcuts the menu shows the first.
QAction* add(QMenu& menu, const QString& text, const QList<QKeySequence>& shortcuts,
             const std::function<void()>& run);
QAction* addToggle(QMenu& menu, const QString& text, const QList<QKeySequence>& shortcuts,
                   const std::function<void(bool)>& run);
void setIcon(QAction& action, const QString& iconName);
/// The text without the mark of its mnemonic and without an ellipsis: what an undo step is called.
QString plainName(const QAction& action);
/// A plain letter in either case.
QList<QKeySequence> letter(Qt::Key key);
} // namespace Commands

} // namespace velloria
