#include "app/window/DocumentWindow.h"

#include "app/desktop/FileUrls.h"
#include "app/effects/EffectDialog.h"
#include "app/look/ItemNames.h"
#include "app/look/TrackNames.h"
#include "app/menus/DocumentMenus.h"
#include "app/menus/EditActions.h"
#include "app/menus/Editor.h"
#include "app/menus/FileActions.h"
#include "app/menus/RecordActions.h"
#include "app/preferences/Settings.h"
#include "app/progress/BusyState.h"
#include "app/progress/MessageBar.h"
#include "app/progress/OpenJob.h"
#include "app/progress/OpeningBar.h"
#include "app/transport/TransportBar.h"
#include "app/waveform/StatusLine.h"
#include "app/waveform/WaveformView.h"
#include "app/window/HistoryDock.h"
#include "app/window/MarkerListDock.h"
#include "controllers/DisplayController.h"
#include "controllers/RecordingController.h"
#include "controllers/SelectionModel.h"
#include "controllers/TransportController.h"
#include "display/WaveformScans.h"
#include "document/LeftOverSounds.h"
#include "platform/NotificationCenter.h"
#include "platform/UserDefaults.h"

#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QLocale>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

namespace velloria
{

namespace
{

constexpr QSize kDefaultSize(1120, 560);
constexpr int kActivityMilliseconds = 200;

} // namespace

DocumentWindow::DocumentWindow(std::shared_ptr<SoundDocument> document, Editor& editor)
    : mEditor(editor)
    , mAlerts(this)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setAcceptDrops(true);
    adopt(std::move(document));
    buildView();
    buildHistory();
    buildMarkerList();
    buildMenus();
    buildToolBar();
    buildTransportBar();
    const QSize size = UserDefaults::standard().value(Settings::windowSize).toSize();
    resize(size.isValid() ? size : kDefaultSize);
    connect(&mActivityTimer, &QTimer::timeout, this, &DocumentWindow::updateActivity);
    mSettingsToken = NotificationCenter::standard().addObserver(Settings::didChange,
                                                                [this](const void*) { settingsDidChange(); });
    mView->setFocus();
    updateState();
    updateActivity();
}

DocumentWindow::~DocumentWindow()
{
    NotificationCenter::standard().removeObserver(mSettingsToken);
    // A history that goes away tells so, and the views ask the controller until they are gone.
    document().undoManager().disconnect(this);
    delete takeCentralWidget();
    delete mMarkerList;
    mMenus.reset();
    mController.reset();
    // Files that nobody else needs are let go of now: some are locked for as long as they are open.
    WaveformScans::shared().update();
}

void DocumentWindow::adopt(std::shared_ptr<SoundDocument> document)
{
    auto controller = std::make_unique<SoundController>(std::move(document), *this);
    if (mController)
        this->document().undoManager().disconnect(this);
    if (mSubject)
        mSubject->setController(*controller);
    else
        mSubject = std::make_unique<DocumentSubject>(*controller, [this](int64_t offset, int64_t length) {
            setNeedsDisplayWithFrameOffset(offset, length);
        });
    mController = std::move(controller);
    QUndoStack& history = this->document().undoManager();
    connect(&history, &QUndoStack::cleanChanged, this, &DocumentWindow::updateState);
    connect(&history, &QUndoStack::indexChanged, this, &DocumentWindow::updateState);
    connect(&history, &QUndoStack::undoTextChanged, this, &DocumentWindow::updateState);
    connect(&history, &QUndoStack::redoTextChanged, this, &DocumentWindow::updateState);
    mController->display().startWaveformRender();
}

void DocumentWindow::replaceDocument(std::shared_ptr<SoundDocument> document)
{
    mHistory->setStack(nullptr);
    adopt(std::move(document));
    mHistory->setStack(&this->document().undoManager());
    mMarkerList->setDocument(mController->sharedDocument());
    showOrHideLoudness();
    if (mMessageBar->offersUndo())
        mMessageBar->hide();
    mView->context().documentDidReload();
    mView->context().cueDidChange();
    mView->context().zoomToDefault();
    updateState();
    updateActivity();
}

void DocumentWindow::reopen()
{
    // A window that closes meanwhile takes the job with it.
    auto* const job = new OpenJob(document().filePath(), this);
    job->start([this, job](const std::shared_ptr<SoundDocument>& read, const MaybeError& error) {
        job->deleteLater();
        if (read)
            replaceDocument(read);
        else
            reportError(mAlerts, error);
    });
}

void DocumentWindow::beginOpening(OpenJob& job)
{
    mJob = &job;
    mOpeningBar = new OpeningBar(this);
    auto* const layout = static_cast<QVBoxLayout*>(centralWidget()->layout());
    layout->insertWidget(0, mOpeningBar);
    mOpeningBar->show();
    connect(mOpeningBar, &OpeningBar::cancelRequested, this, &DocumentWindow::cancelOpening);
    connect(&job, &OpenJob::progressed, this, [this](double value, const QString& remaining) {
        if (!mOpeningBar)
            return;
        mOpeningBar->showProgress(value, remaining);
        setNeedsDisplayWithFrameOffset(0, document().numberOfFrames());
    });
    updateEditing();
    updateState();
}

void DocumentWindow::endOpening(std::shared_ptr<SoundDocument> document)
{
    mJob = nullptr;
    delete std::exchange(mOpeningBar, nullptr);
    updateEditing();
    WaveformViewGeometry& geometry = mView->context().geometry();
    const bool wasFitted = mView->context().isFitted();
    const double zoom = geometry.zoom();
    const double scrollPosition = geometry.scrollPosition();
    const SoundSelection selection = mController->selection().value();
    const double cue = mController->transport().cueTime();
    replaceDocument(std::move(document));
    if (!wasFitted) {
        geometry.setZoom(zoom);
        geometry.setScrollPosition(scrollPosition);
    }
    mController->selection().setSelection(selection);
    mController->transport().setCueTime(cue);
}

bool DocumentWindow::shows(const OpenJob& job) const
{
    return mJob == &job;
}

void DocumentWindow::cancelOpening()
{
    // The job's owner closes this window, which may be handling an event of its own just now.
    if (mJob)
        QMetaObject::invokeMethod(mJob, &OpenJob::cancel, Qt::QueuedConnection);
}

void DocumentWindow::updateEditing()
{
    const bool canEdit = !isOpening() && !mController->recording().isRecording();
    mMenus->setEditable(canEdit, !isOpening());
    mHistory->widget()->setEnabled(canEdit);
}

bool DocumentWindow::isPristine() const
{
    const SoundDocument& document = mController->document();
    return document.filePath().empty() && document.numberOfFrames() == 0 && !document.isDocumentEdited() &&
           document.markers().count() == 0;
}

void DocumentWindow::updateState()
{
    updateTitle();
    updateFormat();
    mMenus->update();
    transportDidChange();
}

void DocumentWindow::updateTitle()
{
    QString name = ItemNames::shown(document().displayName());
    // In a title "[*]" is where the mark of unsaved changes goes.
    name.replace(QLatin1String("[*]"), QLatin1String("[*][*]"));
    setWindowTitle(name + QStringLiteral("[*]"));
    setWindowFilePath(QString());
    setWindowModified(document().isDocumentEdited());
}

void DocumentWindow::updateFormat()
{
    const QString rate = QLocale().toString(document().sampleRate(), 'f', QLocale::FloatingPointShortest);
    //: The format of a sound: sample rate, bits a sample, channels ("Stereo")
    //% "%1 Hz  ·  %2 bit  ·  %3"
    mStatusLine->setFormat(qtTrId("status-format-text")
                               .arg(rate)
                               .arg(document().sampleSize())
                               .arg(TrackNames::channels(document().trackCount())));
}

void DocumentWindow::updateActivity()
{
    const double progress = mController->display().waveformRenderProgress();
    if (progress >= 1) {
        mActivityTimer.stop();
        mStatusLine->setActivity({});
        return;
    }
    if (!mActivityTimer.isActive())
        mActivityTimer.start(kActivityMilliseconds);
    //: What is going on; %1 is a number of percent
    //% "Reading waveform %1 %"
    mStatusLine->setActivity(qtTrId("status-reading").arg(static_cast<int>(progress * 100)));
}

void DocumentWindow::settingsDidChange()
{
    mView->context().reloadSettings();
    mMarkerList->model().refresh();
    showOrHideLoudness();
    updateState();
}

void DocumentWindow::bringToFront()
{
    show();
    if (isMinimized())
        showNormal();
    raise();
    activateWindow();
}

bool DocumentWindow::confirmClosing()
{
    mIsDiscarded = false;
    if (!document().isDocumentEdited())
        return true;
    bringToFront();
    //: %1 is the name of a document
    //% "Save the changes to “%1” before closing?"
    QMessageBox box(QMessageBox::Warning, QString(),
                    qtTrId("close-question").arg(ItemNames::shown(document().displayName())),
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, this, Qt::Sheet);
    box.setWindowModality(Qt::WindowModal);
    //% "If you do not save, your changes are lost."
    box.setInformativeText(qtTrId("close-detail"));
    //% "Save"
    box.button(QMessageBox::Save)->setText(qtTrId("save"));
    //% "Discard"
    box.button(QMessageBox::Discard)->setText(qtTrId("discard"));
    box.button(QMessageBox::Cancel)->setText(qtTrId("cancel"));
    box.setDefaultButton(QMessageBox::Save);
    switch (box.exec()) {
    case QMessageBox::Save:
        return mMenus->file().save();
    case QMessageBox::Discard:
        // Only when the window really closes: another one may keep the program from ending.
        mIsDiscarded = true;
        return true;
    default:
        return false;
    }
}

bool DocumentWindow::hasQuestion() const
{
    const QList<QDialog*> dialogs = findChildren<QDialog*>();
    return std::any_of(dialogs.begin(), dialogs.end(),
                       [](const QDialog* dialog) { return dialog->isVisible() && dialog->isModal(); });
}

bool DocumentWindow::prepareToClose()
{
    // A dialog that is answered later than now would find no window.
    if (EffectDialog* const dialog = findChild<EffectDialog*>())
        dialog->reject();
    // Another window may ask while this one waits for its take.
    if (BusyState::shared().isBusy() || mMenus->recording().isFinishing())
        return false;
    const bool mayClose = finishTake() && confirmClosing();
    if (!mayClose && isHidden())
        bringToFront();
    return mayClose;
}

/// The take is part of what may be saved. False when the window must stay.
bool DocumentWindow::finishTake()
{
    const bool isComplete = mMenus->recording().finish();
    if (BusyState::shared().isBusy() || hasQuestion())
        return false;
    if (!isComplete) {
        bringToFront();
        mMenus->recording().sayThatItDoesNotEnd();
    }
    return !BusyState::shared().isBusy() && !hasQuestion();
}

void DocumentWindow::keepForNextStart()
{
    mMenus->recording().finish();
    mController->transport().stopAudio();
    if (document().isDocumentEdited() && document().numberOfFrames() > 0)
        LeftOverSounds::keep(document());
}

void DocumentWindow::closeWithoutAsking()
{
    mClosesWithoutAsking = true;
    close();
}

void DocumentWindow::closeEvent(QCloseEvent* event)
{
    if (!mClosesWithoutAsking && isOpening()) {
        cancelOpening();
        event->ignore();
        return;
    }
    if (!mClosesWithoutAsking && !prepareToClose()) {
        event->ignore();
        return;
    }
    if (!isMaximized() && !isFullScreen())
        UserDefaults::standard().setValue(Settings::windowSize, size());
    mController->transport().stopAudio();
    if (mIsDiscarded)
        document().discardLeftOvers();
    Q_EMIT closed(this);
    event->accept();
}

void DocumentWindow::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    if (mWasShown)
        return;
    mWasShown = true;
    // The views have their sizes now.
    mView->context().zoomToDefault();
}

void DocumentWindow::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::ActivationChange && mMenus) {
        mMenus->edit().update();
        // Somebody who comes back may come from the program that did it.
        if (isActiveWindow())
            tellOfChangedFile();
    }
    QMainWindow::changeEvent(event);
}

bool DocumentWindow::event(QEvent* event)
{
    // Return and Escape end typing in a field; they are commands of the window only elsewhere.
    if (event->type() == QEvent::ShortcutOverride && qobject_cast<QLineEdit*>(QApplication::focusWidget())) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Escape) {
            event->accept();
            return true;
        }
    }
    return QMainWindow::event(event);
}

void DocumentWindow::dragEnterEvent(QDragEnterEvent* event)
{
    if (!FileUrls::localPaths(event->mimeData()->urls()).empty())
        event->acceptProposedAction();
}

void DocumentWindow::dropEvent(QDropEvent* event)
{
    mEditor.openFiles(FileUrls::localPaths(event->mimeData()->urls()));
    event->acceptProposedAction();
}

} // namespace velloria
