#pragma once

#include "document/SoundDocument.h"

#include <QObject>

class QAction;
class QMenu;
class QMenuBar;

namespace velloria
{

class MenuHost;

/// The File menu: opening, saving, closing. Saving says first what would be lost.
class FileActions : public QObject
{
    Q_OBJECT

public:
    FileActions(MenuHost& window, QMenuBar& menuBar);

    void update();
    QAction* openAction() const { return mOpen; }
    QAction* saveAction() const { return mSave; }
    QAction* saveAsAction() const { return mSaveAs; }
    QAction* saveSelectionAction() const { return mSaveSelection; }
    QAction* revertAction() const { return mRevert; }

    /// Saves where the document lives, or asks for a place. False when it was not saved.
    bool save();
    bool saveAs();
    bool saveSelection();
    void revert();

private:
    void addOpening(QMenu& menu);
    void addSaving(QMenu& menu);
    void fillRecent();
    void open();
    bool canSaveInPlace() const;
    bool write(const SaveRequest& request);
    /// Asks after a save that failed because a file that the sound is read from changed.
    bool wantsWhatIsLeft(const Error& error);
    void saveWhatIsLeft(const SaveRequest& failed);

    MenuHost& mWindow;
    QMenu* mRecent = nullptr;
    QAction* mOpen = nullptr;
    QAction* mSave = nullptr;
    QAction* mSaveAs = nullptr;
    QAction* mSaveSelection = nullptr;
    QAction* mRevert = nullptr;
};

} // namespace velloria
