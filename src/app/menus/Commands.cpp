#include "app/menus/Commands.h"

#include "app/look/ThemedIcon.h"

#include <QMenu>

namespace velloria
{

QAction* Commands::add(QMenu& menu, const QString& text, const QList<QKeySequence>& shortcuts,
                       const std::function<void()>& run)
{
    QAction* const action = menu.addAction(text);
    action->setShortcuts(shortcuts);
    QObject::connect(action, &QAction::triggered, &menu, [run] { run(); });
    return action;
}

QAction* Commands::addToggle(QMenu& menu, const QString& text, const QList<QKeySequence>& shortcuts,
                             const std::function<void(bool)>& run)
{
    QAction* const action = menu.addAction(text);
    action->setCheckable(true);
    action->setShortcuts(shortcuts);
    QObject::connect(action, &QAction::triggered, &menu, [run](bool isOn) { run(isOn); });
    return action;
}

void Commands::setIcon(QAction& action, const QString& iconName)
{
    action.setIcon(ThemedIcon::named(iconName));
    // Menus stay quiet; the icon is for the tool bar.
    action.setIconVisibleInMenu(false);
}

QString Commands::plainName(const QAction& action)
{
    QString name = action.text();
    name.replace(QLatin1String("&&"), QString(QChar::Null)).remove(u'&').replace(QChar::Null, u'&');
    if (name.endsWith(u'\u2026'))
        name.chop(1);
    return name;
}

QList<QKeySequence> Commands::letter(Qt::Key key)
{
    return {QKeySequence(key), QKeySequence(Qt::SHIFT | key)};
}

} // namespace velloria
