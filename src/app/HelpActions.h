#pragma once

#include <QObject>

class QMenu;
class QMenuBar;

namespace velloria
{

class DocumentWindow;

/// The Window menu, which lists the open documents, and the Help menu.
class HelpActions : public QObject
{
    Q_OBJECT

public:
    HelpActions(DocumentWindow& window, QMenuBar& menuBar);

private:
    void fillWindows();
    void showShortcuts();
    void showAbout();

    DocumentWindow& mWindow;
    QMenu* mWindows;
};

} // namespace velloria
