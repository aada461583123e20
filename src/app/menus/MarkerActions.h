#pragma once

#include <QObject>
#include <vector>

class QAction;
class QMenu;
class QMenuBar;

namespace velloria
{

class MenuHost;

/// The Markers menu: putting, finding and deleting markers, splitting at them, the grid and what is shown.
class MarkerActions : public QObject
{
    Q_OBJECT

public:
    MarkerActions(MenuHost& window, QMenuBar& menuBar, QAction& listToggle);

    void update();

private:
    void addPutting(QMenu& menu);
    void addJumps(QMenu& menu);
    void addSettings(QMenu& menu, QAction& listToggle);
    void addSetting(QMenu& menu, const QString& text, const QString& key);
    void insertAtGridlines();
    void insertInGaps();
    void jump(int direction);
    void split();

    MenuHost& mWindow;
    QAction* mGaps = nullptr;
    QAction* mGridlines = nullptr;
    QAction* mDeleteAll = nullptr;
    QAction* mPrevious = nullptr;
    QAction* mNext = nullptr;
    QAction* mSplit = nullptr;
    std::vector<QAction*> mSettings;
};

} // namespace velloria
