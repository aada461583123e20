#pragma once

#include <QObject>

class QMenu;
class QMenuBar;

namespace velloria
{

class MenuHost;

/// The Window menu, which lists the open documents, and the Help menu.
class HelpActions : public QObject
{
    Q_OBJECT

public:
    HelpActions(MenuHost& window, QMenuBar& menuBar);

private:
    void fillWindows();
    void showShortcuts();
    void showAbout();

    MenuHost& mWindow;
    QMenuBar& mMenuBar;
    QMenu* mWindows;
};

} // namespace velloria
