#pragma once

#include <QObject>
#include <vector>

class QAction;
class QMenu;
class QMenuBar;

namespace velloria
{

class MenuHost;

/// The View menu: zoom, ruler units, level scale, snapping and what is shown.
class ViewActions : public QObject
{
    Q_OBJECT

public:
    ViewActions(MenuHost& window, QMenuBar& menuBar);
    ~ViewActions() override;

    void update();
    QMenu& unitsMenu() { return *mUnits; }
    QMenu& scaleMenu() { return *mScale; }
    QAction* zoomInAction() const { return mZoomIn; }
    QAction* zoomOutAction() const { return mZoomOut; }
    QAction* fitAction() const { return mFit; }
    QAction* zoomToSelectionAction() const { return mZoomToSelection; }
    QAction* previousZoomAction() const { return mPreviousZoom; }
    /// What the zoom's read-out offers.
    QList<QAction*> zoomChoices() const;

private:
    void addZoom(QMenu& menu);
    void addZoomTo(QMenu& menu);
    void addScrolling(QMenu& menu);
    void addUnits(QMenu& menu);
    void addScale(QMenu& menu);
    void addToggles(QMenu& menu);
    QAction* addSetting(QMenu& menu, const QString& text, const QString& key);
    void toggleFullScreen();

    MenuHost& mWindow;
    QMenu* mUnits = nullptr;
    QMenu* mScale = nullptr;
    QMenu* mZooms = nullptr;
    QAction* mZoomIn = nullptr;
    QAction* mZoomOut = nullptr;
    QAction* mFit = nullptr;
    QAction* mZoomToSelection = nullptr;
    QAction* mPreviousZoom = nullptr;
    QAction* mDecibels = nullptr;
    QAction* mLinear = nullptr;
    /// Each with the key of its preference in its data.
    std::vector<QAction*> mSettings;
};

} // namespace velloria
