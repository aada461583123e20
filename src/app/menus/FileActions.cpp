#include "app/menus/FileActions.h"

#include "app/desktop/FileUrls.h"
#include "app/look/ItemNames.h"
#include "app/menus/Commands.h"
#include "app/menus/Editor.h"
#include "app/menus/MenuHost.h"
#include "app/preferences/FolderMemory.h"
#include "app/preferences/RecentFiles.h"
#include "app/progress/WindowAlerts.h"
#include "app/sheets/SaveDialog.h"
#include "controllers/RecordingController.h"
#include "controllers/SelectionModel.h"
#include "formats/AudioFileRegistry.h"

#include <QFileDialog>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QUrl>

namespace velloria
{

namespace
{

/// "Sound files (*.wav *.aif ...)" and "All files".
QString openFilter()
{
    QStringList patterns;
    for (const QString& extension : AudioFileRegistry::extensionsForOpen())
        patterns << QStringLiteral("*.") + extension << QStringLiteral("*.") + extension.toUpper();
    //% "Sound files (%1)"
    return qtTrId("open-filter-sound").arg(patterns.join(u' ')) +
           QStringLiteral(";;")
           //% "All files (*)"
           + qtTrId("open-filter-all");
}

} // namespace

FileActions::FileActions(MenuHost& window, QMenuBar& menuBar)
    : mWindow(window)
{
    //% "&File"
    QMenu& menu = *menuBar.addMenu(qtTrId("menu-file"));
    addOpening(menu);
    menu.addSeparator();
    addSaving(menu);
    menu.addSeparator();
    //% "&Close"
    Commands::add(menu, qtTrId("file-close"), {QKeySequence::Close}, [this] { mWindow.widget().close(); });
    //% "&Quit"
    Commands::add(menu, qtTrId("file-quit"), {QKeySequence(Qt::CTRL | Qt::Key_Q)},
                  [this] { mWindow.editor().quit(); });
}

void FileActions::addOpening(QMenu& menu)
{
    //% "&New"
    Commands::add(menu, qtTrId("file-new"), {QKeySequence::New}, [this] { mWindow.editor().newDocument(); });
    //% "&Open…"
    mOpen = Commands::add(menu, qtTrId("file-open"), {QKeySequence::Open}, [this] { open(); });
    Commands::setIcon(*mOpen, QStringLiteral("open"));
    //% "Open &Recent"
    mRecent = menu.addMenu(qtTrId("file-recent"));
    connect(mRecent, &QMenu::aboutToShow, this, &FileActions::fillRecent);
}

void FileActions::addSaving(QMenu& menu)
{
    //% "&Save"
    mSave = Commands::add(menu, qtTrId("file-save"), {QKeySequence::Save}, [this] { save(); });
    Commands::setIcon(*mSave, QStringLiteral("save"));
    //% "Save &As…"
    mSaveAs = Commands::add(menu, qtTrId("file-save-as"), {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S)},
                            [this] { saveAs(); });
    //% "Save Se&lection As…"
    mSaveSelection =
        Commands::add(menu, qtTrId("file-save-selection"), {QKeySequence(Qt::CTRL | Qt::ALT | Qt::Key_S)},
                      [this] { saveSelection(); });
    //% "Re&vert to Saved"
    mRevert = Commands::add(menu, qtTrId("file-revert"), {}, [this] { revert(); });
}

void FileActions::update()
{
    const SoundDocument& document = mWindow.document();
    const bool isComplete = !mWindow.isOpening() && !mWindow.controller().recording().isRecording();
    const bool hasSound = document.numberOfFrames() > 0 && isComplete;
    mSave->setEnabled(hasSound && (document.isDocumentEdited() || document.filePath().empty()));
    mSaveAs->setEnabled(hasSound);
    mSaveSelection->setEnabled(hasSound && !mWindow.controller().selection().isEmpty());
    mRevert->setEnabled(isComplete && document.isDocumentEdited() && !document.filePath().empty());
    mRecent->setEnabled(!RecentFiles::paths().empty());
}

void FileActions::fillRecent()
{
    mRecent->clear();
    for (const std::filesystem::path& path : RecentFiles::paths()) {
        QAction* const action = Commands::add(*mRecent, ItemNames::inMenu(displayName(path)), {},
                                              [this, path] { mWindow.editor().openFiles({path}); });
        action->setToolTip(ItemNames::wrappable(displayPath(path)));
    }
    mRecent->setToolTipsVisible(true);
    mRecent->addSeparator();
    //% "Clear List"
    Commands::add(*mRecent, qtTrId("file-recent-clear"), {}, [this] {
        RecentFiles::clear();
        update();
    });
}

void FileActions::open()
{
    const QList<QUrl> urls =
        //% "Open"
        QFileDialog::getOpenFileUrls(
            &mWindow.widget(), qtTrId("open-title"),
            QUrl::fromLocalFile(FolderMemory::folderFor(mWindow.document().filePath())), openFilter(),
            nullptr, {}, {QStringLiteral("file")});
    const std::vector<std::filesystem::path> paths = FileUrls::localPaths(urls);
    if (paths.empty())
        return;
    FolderMemory::remember(paths.front());
    mWindow.editor().openFiles(paths);
}

bool FileActions::canSaveInPlace() const
{
    const SoundDocument& document = mWindow.document();
    const AudioFileType* const type = AudioFileRegistry::typeWithUTI(document.fileType());
    return !document.filePath().empty() && type && type->create;
}

bool FileActions::save()
{
    if (!canSaveInPlace())
        return saveAs();
    SaveRequest request;
    request.path = mWindow.document().filePath();
    request.uti = mWindow.document().fileType();
    return write(request);
}

bool FileActions::saveAs()
{
    SaveRequest request;
    request.operation = SaveOperation::saveAs;
    SaveDialog dialog(mWindow.document(), request, &mWindow.widget());
    const std::optional<SaveRequest> answer = dialog.ask();
    return answer && write(*answer);
}

bool FileActions::saveSelection()
{
    SaveRequest request;
    request.operation = SaveOperation::saveTo;
    request.selection = mWindow.controller().selection().normalizedSelection();
    SaveDialog dialog(mWindow.document(), request, &mWindow.widget());
    const std::optional<SaveRequest> answer = dialog.ask();
    return answer && write(*answer);
}

bool FileActions::write(const SaveRequest& request)
{
    const MaybeError error = mWindow.controller().save(request);
    mWindow.updateState();
    if (!error) {
        RecentFiles::add(request.path);
        return true;
    }
    if (error->code != Error::Code::sourceChanged)
        reportError(mWindow.alerts(), error);
    else if (wantsWhatIsLeft(*error))
        saveWhatIsLeft(request);
    return false;
}

bool FileActions::wantsWhatIsLeft(const Error& error)
{
    //% "Save a copy of what can still be read?"
    QMessageBox box(QMessageBox::Warning, QString(), qtTrId("save-rest-question"), QMessageBox::Cancel,
                    &mWindow.widget(), Qt::Sheet);
    box.setWindowModality(Qt::WindowModal);
    //: %1 says which file was changed by another program
    //% "%1 The document was not saved and stays as it is. In a copy there is silence where sound is missing."
    box.setInformativeText(ItemNames::wrappable(qtTrId("save-rest-detail").arg(error.message)));
    box.setTextFormat(Qt::PlainText);
    box.button(QMessageBox::Cancel)->setText(qtTrId("cancel"));
    //% "Save a Copy…"
    const QPushButton* const save = box.addButton(qtTrId("save-rest"), QMessageBox::AcceptRole);
    box.setDefaultButton(QMessageBox::Cancel);
    box.exec();
    return box.clickedButton() == save;
}

void FileActions::saveWhatIsLeft(const SaveRequest& failed)
{
    SaveRequest request;
    request.operation = SaveOperation::saveTo;
    request.selection = failed.selection;
    request.takesWhatIsLeft = true;
    SaveDialog dialog(mWindow.document(), request, &mWindow.widget());
    if (const std::optional<SaveRequest> answer = dialog.ask())
        write(*answer);
}

void FileActions::revert()
{
    //: %1 is the name of a document
    //% "Go back to the saved version of “%1”?"
    QMessageBox box(QMessageBox::Warning, QString(),
                    qtTrId("revert-question").arg(ItemNames::shown(mWindow.document().displayName())),
                    QMessageBox::Cancel, &mWindow.widget(), Qt::Sheet);
    box.setWindowModality(Qt::WindowModal);
    //% "All changes since then are lost, and so is the undo history."
    box.setInformativeText(qtTrId("revert-detail"));
    box.button(QMessageBox::Cancel)->setText(qtTrId("cancel"));
    //% "Revert"
    const QPushButton* const revert = box.addButton(qtTrId("revert"), QMessageBox::DestructiveRole);
    box.setDefaultButton(QMessageBox::Cancel);
    box.exec();
    if (box.clickedButton() == revert)
        mWindow.reopen();
}

} // namespace velloria
