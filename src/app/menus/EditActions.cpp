#include "app/menus/EditActions.h"

#include "app/look/ItemNames.h"
#include "app/look/TrackNames.h"
#include "app/menus/Commands.h"
#include "app/menus/Editor.h"
#include "app/menus/MenuHost.h"
#include "app/progress/WindowAlerts.h"
#include "app/sheets/EditSheets.h"
#include "app/waveform/WaveformView.h"
#include "controllers/EditCommands.h"
#include "controllers/RecordingController.h"
#include "controllers/SelectionModel.h"
#include "document/AudioClipboard.h"
#include "platform/NotificationCenter.h"

#include <QMenu>
#include <QMenuBar>

namespace velloria
{

namespace
{

const QString kClipboardDidChange = QStringLiteral("clipboardDidChange");

} // namespace

EditActions::EditActions(MenuHost& window, QMenuBar& menuBar, QAction& historyToggle)
    : mWindow(window)
{
    //% "&Edit"
    QMenu& menu = *menuBar.addMenu(qtTrId("menu-edit"));
    addHistory(menu, historyToggle);
    menu.addSeparator();
    addClipboard(menu);
    menu.addSeparator();
    addSelection(menu);
    menu.addSeparator();
    //% "Pre&ferences…"
    QAction* const preferences =
        Commands::add(menu, qtTrId("edit-preferences"), {QKeySequence(Qt::CTRL | Qt::Key_Comma)},
                      [this] { mWindow.editor().showPreferences(); });
    preferences->setMenuRole(QAction::PreferencesRole);
    mClipboardToken =
        NotificationCenter::standard().addObserver(kClipboardDidChange, [this](const void*) { update(); });
}

EditActions::~EditActions()
{
    NotificationCenter::standard().removeObserver(mClipboardToken);
}

void EditActions::addHistory(QMenu& menu, QAction& historyToggle)
{
    //% "&Undo"
    mUndo = Commands::add(menu, qtTrId("edit-undo"), {QKeySequence(Qt::CTRL | Qt::Key_Z)},
                          [this] { mWindow.controller().editing().undo(); });
    Commands::setIcon(*mUndo, QStringLiteral("undo"));
    //% "&Redo"
    mRedo =
        Commands::add(menu, qtTrId("edit-redo"),
                      {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), QKeySequence(Qt::CTRL | Qt::Key_Y)},
                      [this] { mWindow.controller().editing().redo(); });
    Commands::setIcon(*mRedo, QStringLiteral("redo"));
    //% "Undo &History"
    historyToggle.setText(qtTrId("edit-history"));
    historyToggle.setShortcut(QKeySequence(Qt::CTRL | Qt::Key_H));
    menu.addAction(&historyToggle);
}

void EditActions::addClipboard(QMenu& menu)
{
    //% "Cu&t"
    mCut = Commands::add(menu, qtTrId("edit-cut"), {QKeySequence::Cut}, [this] { cut(); });
    //% "&Copy"
    mCopy = Commands::add(menu, qtTrId("edit-copy"), {QKeySequence::Copy}, [this] { copy(); });
    //% "&Paste"
    mPaste = Commands::add(menu, qtTrId("edit-paste"), {QKeySequence::Paste}, [this] { paste(); });
    //% "Mi&x Paste…"
    mMixPaste = Commands::add(menu, qtTrId("edit-mix-paste"),
                              {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_V), QKeySequence(Qt::Key_9)},
                              [this] { EditSheets::mixPaste(mWindow.controller(), mWindow.widget()); });
    //% "&Delete"
    mDelete = Commands::add(menu, qtTrId("edit-delete"), {Qt::Key_Delete, Qt::Key_Backspace}, [this] {
        mWindow.controller().editing().deleteSelection(Commands::plainName(*mDelete));
    });
    //% "C&lear"
    mClear = Commands::add(menu, qtTrId("edit-clear"), {QKeySequence(Qt::CTRL | Qt::Key_Delete)},
                           [this] { mWindow.controller().editing().clear(Commands::plainName(*mClear)); });
    //% "Makes the selection silent"
    mClear->setToolTip(qtTrId("edit-clear-tip"));
    //% "Cr&op"
    mCrop = Commands::add(menu, qtTrId("edit-crop"), {QKeySequence(Qt::CTRL | Qt::Key_T)},
                          [this] { mWindow.controller().editing().crop(Commands::plainName(*mCrop)); });
    //% "Removes everything but the selection"
    mCrop->setToolTip(qtTrId("edit-crop-tip"));
    menu.setToolTipsVisible(true);
}

void EditActions::addSelection(QMenu& menu)
{
    //% "Select &All"
    Commands::add(menu, qtTrId("edit-select-all"), {QKeySequence::SelectAll},
                  [this] { mWindow.controller().selection().selectAll(); });
    //% "Select &None"
    Commands::add(menu, qtTrId("edit-select-none"), {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_A)},
                  [this] { mWindow.controller().selection().selectNone(); });
    //% "Select to Start"
    Commands::add(menu, qtTrId("edit-select-to-start"), {QKeySequence(Qt::CTRL | Qt::Key_BracketLeft)},
                  [this] { mWindow.controller().selection().selectToStart(); });
    //% "Select to End"
    Commands::add(menu, qtTrId("edit-select-to-end"), {QKeySequence(Qt::CTRL | Qt::Key_BracketRight)},
                  [this] { mWindow.controller().selection().selectToEnd(); });
    //% "Select Trac&ks"
    mTracks = menu.addMenu(qtTrId("edit-select-tracks"));
    connect(mTracks, &QMenu::aboutToShow, this, &EditActions::fillTracks);
}

void EditActions::fillTracks()
{
    mTracks->clear();
    const int32_t count = mWindow.document().trackCount();
    const SoundSelection selection = mWindow.controller().selection().normalizedSelection();
    //% "All Tracks"
    QAction* const all =
        Commands::add(*mTracks, qtTrId("edit-all-tracks"), {}, [this, count] { selectTracks(0, count); });
    all->setCheckable(true);
    all->setChecked(selection.numTracks == count);
    for (int32_t track = 0; track < count && count > 1; ++track) {
        QAction* const one = Commands::add(*mTracks, TrackNames::name(track, count), {},
                                           [this, track] { selectTracks(track, 1); });
        one->setCheckable(true);
        one->setChecked(selection.numTracks == 1 && selection.firstTrack == track);
    }
}

void EditActions::selectTracks(int32_t firstTrack, int32_t numTracks)
{
    SoundSelection selection = mWindow.controller().selection().normalizedSelection();
    selection.firstTrack = firstTrack;
    selection.numTracks = numTracks;
    mWindow.controller().selection().setSelection(selection);
}

void EditActions::update()
{
    const QUndoStack& history = mWindow.document().undoManager();
    //: %1 is the name of a step
    //% "&Undo %1"
    mUndo->setText(history.canUndo() ? qtTrId("edit-undo-step").arg(ItemNames::inMenu(history.undoText()))
                                     : qtTrId("edit-undo"));
    //: %1 is the name of a step
    //% "&Redo %1"
    mRedo->setText(history.canRedo() ? qtTrId("edit-redo-step").arg(ItemNames::inMenu(history.redoText()))
                                     : qtTrId("edit-redo"));
    // These are in the tool bar as well.
    const bool canEdit = !mWindow.controller().recording().isRecording();
    mUndo->setEnabled(history.canUndo() && canEdit);
    mRedo->setEnabled(history.canRedo() && canEdit);
    const bool hasSelection = !mWindow.controller().selection().isEmpty();
    for (QAction* const action : {mCut, mCopy, mDelete, mClear, mCrop})
        action->setEnabled(hasSelection);
    mPaste->setEnabled(AudioClipboard::clipboard().hasContent());
    mMixPaste->setEnabled(AudioClipboard::clipboard().hasContent());
    mTracks->setEnabled(mWindow.document().trackCount() > 1);
}

void EditActions::copy()
{
    mWindow.controller().editing().copy();
    clipboardDidChange();
}

void EditActions::cut()
{
    mWindow.controller().editing().cut(Commands::plainName(*mCut));
    clipboardDidChange();
}

void EditActions::clipboardDidChange()
{
    NotificationCenter::standard().post(kClipboardDidChange);
}

void EditActions::paste()
{
    MaybeError error;
    const bool wasEmpty = mWindow.document().numberOfFrames() == 0;
    if (!mWindow.controller().editing().paste(Commands::plainName(*mPaste), &error)) {
        reportError(mWindow.alerts(), error);
        return;
    }
    if (wasEmpty)
        mWindow.view().context().zoomToDefault();
}

} // namespace velloria
