#pragma once

#include <QObject>
#include <vector>

class QAction;
class QMenu;
class QMenuBar;

namespace velloria
{

class MenuHost;

/// The Edit menu: history, clipboard, selection. Steps are named after the menu's items.
class EditActions : public QObject
{
    Q_OBJECT

public:
    EditActions(MenuHost& window, QMenuBar& menuBar, QAction& historyToggle);
    ~EditActions() override;

    void update();
    QAction* undoAction() const { return mUndo; }
    QAction* redoAction() const { return mRedo; }
    QAction* cutAction() const { return mCut; }
    QAction* copyAction() const { return mCopy; }
    QAction* pasteAction() const { return mPaste; }
    QAction* deleteAction() const { return mDelete; }
    QAction* clearAction() const { return mClear; }
    QAction* cropAction() const { return mCrop; }

private:
    void addHistory(QMenu& menu, QAction& historyToggle);
    void addClipboard(QMenu& menu);
    void addSelection(QMenu& menu);
    void fillTracks();
    void selectTracks(int32_t firstTrack, int32_t numTracks);
    void copy();
    void cut();
    void paste();
    void clipboardDidChange();

    MenuHost& mWindow;
    QAction* mUndo = nullptr;
    QAction* mRedo = nullptr;
    QAction* mCut = nullptr;
    QAction* mCopy = nullptr;
    QAction* mPaste = nullptr;
    QAction* mMixPaste = nullptr;
    QAction* mDelete = nullptr;
    QAction* mClear = nullptr;
    QAction* mCrop = nullptr;
    QMenu* mTracks = nullptr;
    int mClipboardToken = 0;
};

} // namespace velloria
