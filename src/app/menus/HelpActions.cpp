#include "app/menus/HelpActions.h"

#include "app/look/ItemNames.h"
#include "app/menus/Commands.h"
#include "app/menus/Editor.h"
#include "app/menus/MenuHost.h"
#include "app/menus/ShortcutsDialog.h"

#include <QGuiApplication>
#include <QIcon>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>

namespace velloria
{

namespace
{

constexpr int kIconSize = 64;

} // namespace

HelpActions::HelpActions(MenuHost& window, QMenuBar& menuBar)
    : mWindow(window)
    , mMenuBar(menuBar)
    //% "&Window"
    , mWindows(menuBar.addMenu(qtTrId("menu-window")))
{
    connect(mWindows, &QMenu::aboutToShow, this, &HelpActions::fillWindows);
    //% "&Help"
    QMenu& help = *menuBar.addMenu(qtTrId("menu-help"));
    //% "&Keyboard and Mouse"
    Commands::add(help, qtTrId("help-shortcuts"), {QKeySequence(Qt::Key_F1)}, [this] { showShortcuts(); });
    help.addSeparator();
    //% "&About Velloria"
    Commands::add(help, qtTrId("help-about"), {}, [this] { showAbout(); });
}

void HelpActions::fillWindows()
{
    mWindows->clear();
    for (MenuHost* const other : mWindow.editor().documentWindows()) {
        QAction* const action = Commands::add(*mWindows, ItemNames::inMenu(other->document().displayName()),
                                              {}, [other] { other->bringToFront(); });
        action->setCheckable(true);
        action->setChecked(other == &mWindow);
    }
}

void HelpActions::showShortcuts()
{
    auto* const dialog = new ShortcutsDialog(mMenuBar, &mWindow.widget());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->show();
}

void HelpActions::showAbout()
{
    QMessageBox box(&mWindow.widget());
    box.setWindowModality(Qt::WindowModal);
    //% "About Velloria"
    box.setWindowTitle(qtTrId("about-title"));
    box.setIconPixmap(QGuiApplication::windowIcon().pixmap(kIconSize));
    box.setTextFormat(Qt::RichText);
    //: %1 is a version number
    //% "<b>Velloria %1</b>"
    box.setText(qtTrId("about-version").arg(QGuiApplication::applicationVersion()));
    //% "An audio editor for recordings."
    box.setInformativeText(qtTrId("about-text"));
    box.exec();
}

} // namespace velloria
