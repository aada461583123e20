#include "app/shell/Application.h"

#include "app/effects/PresetInstaller.h"
#include "app/look/ItemNames.h"
#include "app/preferences/PreferencesDialog.h"
#include "app/preferences/RecentFiles.h"
#include "app/progress/BusyState.h"
#include "app/progress/OpenJob.h"
#include "app/progress/WindowAlerts.h"
#include "app/recovery/LeftOverSearch.h"
#include "app/recovery/LeftOverTitle.h"
#include "app/recovery/RecoveryWindow.h"
#include "app/window/DocumentWindow.h"
#include "controllers/InputLevelsController.h"
#include "document/AudioClipboard.h"
#include "document/clips/TempFile.h"
#include "platform/ScratchFolder.h"

#include <QApplication>
#include <QPointer>
#include <algorithm>
#include <system_error>
#include <utility>

namespace velloria
{

namespace
{

bool isSameFile(const std::filesystem::path& a, const std::filesystem::path& b)
{
    std::error_code error;
    return a == b || (std::filesystem::equivalent(a, b, error) && !error);
}

} // namespace

Application::Application(QObject* parent)
    : QObject(parent)
{
    // Windows come and go while files are on their way in; finished() tells the end.
    QApplication::setQuitOnLastWindowClosed(false);
    connect(&BusyState::shared(), &BusyState::becameIdle, this, &Application::runWhenIdle);
}

Application::~Application()
{
    mLeftOverSearch.reset();
    delete mRecovery;
    for (OpenJob* const job : mJobs)
        delete job;
    for (DocumentWindow* const window : mWindows)
        delete window;
    InputLevelsController::releaseShared();
    removeScratchFiles();
}

void Application::serve(const StartRequest& request)
{
    // A window must not change under a running effect.
    if (BusyState::shared().isBusy()) {
        mWaiting.push_back(request);
        return;
    }
    bringToFront(request);
    if (request.wantsNewDocument)
        newDocument();
    openFiles(request.files);
    if (mWindows.empty() && mJobs.empty())
        newDocument();
}

void Application::runWhenIdle()
{
    std::vector<StartRequest> waiting;
    waiting.swap(mWaiting);
    for (const StartRequest& request : waiting)
        serve(request);
}

void Application::bringToFront(const StartRequest& request)
{
    if (!request.activationToken.isEmpty())
        qputenv("XDG_ACTIVATION_TOKEN", request.activationToken);
    if (DocumentWindow* const window = frontWindow())
        window->bringToFront();
}

DocumentWindow* Application::frontWindow() const
{
    auto* const active = qobject_cast<DocumentWindow*>(QApplication::activeWindow());
    if (active)
        return active;
    return mWindows.empty() ? nullptr : mWindows.back();
}

DocumentWindow* Application::addWindow(std::shared_ptr<SoundDocument> document)
{
    auto* const window = new DocumentWindow(std::move(document), *this);
    mWindows.push_back(window);
    connect(window, &DocumentWindow::closed, this, &Application::windowClosed);
    window->bringToFront();
    return window;
}

void Application::newDocument()
{
    addWindow(std::make_shared<SoundDocument>());
}

void Application::openFiles(const std::vector<std::filesystem::path>& paths)
{
    for (const std::filesystem::path& path : paths) {
        if (PresetInstaller::isPreset(path))
            installPreset(path);
        else
            openFile(path);
    }
}

DocumentWindow* Application::windowOf(const std::filesystem::path& path) const
{
    const auto found = std::find_if(mWindows.begin(), mWindows.end(), [&path](DocumentWindow* window) {
        return !window->document().filePath().empty() && isSameFile(window->document().filePath(), path);
    });
    return found == mWindows.end() ? nullptr : *found;
}

void Application::openFile(const std::filesystem::path& path)
{
    if (DocumentWindow* const window = windowOf(path)) {
        window->bringToFront();
        return;
    }
    const bool isOnItsWay =
        std::any_of(mJobs.begin(), mJobs.end(), [&path](const OpenJob* job) { return job->path() == path; });
    if (isOnItsWay)
        return;
    auto* job = new OpenJob(path, this);
    mJobs.push_back(job);
    connect(job, &OpenJob::decodingBegan, this,
            [this, job](const DecodingStart& start) { showDecoding(*job, start); });
    job->start([this, job](std::shared_ptr<SoundDocument> document, const MaybeError& error) {
        didOpen(job, std::move(document), error);
    });
}

void Application::installPreset(const std::filesystem::path& path)
{
    if (mWindows.empty() && mJobs.empty())
        newDocument();
    // Later: it asks, while who opened the files, a drop say, is not done yet.
    QMetaObject::invokeMethod(
        this,
        [this, path] {
            const QPointer<DocumentWindow> window(frontWindow());
            PresetInstaller::install(path, window);
        },
        Qt::QueuedConnection);
}

void Application::takeJobOff(OpenJob* job)
{
    std::erase(mJobs, job);
    job->deleteLater();
}

void Application::didOpen(OpenJob* job, std::shared_ptr<SoundDocument> document, const MaybeError& error)
{
    const std::filesystem::path path = job->path();
    DocumentWindow* const window = windowShowing(*job);
    takeJobOff(job);
    if (document) {
        RecentFiles::add(path);
        showDocument(std::move(document), window);
        return;
    }
    if (window)
        window->closeWithoutAsking();
    if (mWindows.empty() && mJobs.empty())
        newDocument();
    if (error && !error->isUserCancelled())
        showOpenError(path, *error);
}

void Application::showDecoding(OpenJob& job, const DecodingStart& start)
{
    windowFor(SoundDocument::whileDecoding(job.path(), start))->beginOpening(job);
}

DocumentWindow* Application::windowShowing(const OpenJob& job) const
{
    const auto found = std::find_if(mWindows.begin(), mWindows.end(),
                                    [&job](const DocumentWindow* window) { return window->shows(job); });
    return found == mWindows.end() ? nullptr : *found;
}

DocumentWindow* Application::windowFor(std::shared_ptr<SoundDocument> document)
{
    const auto pristine = std::find_if(mWindows.begin(), mWindows.end(),
                                       [](DocumentWindow* candidate) { return candidate->isPristine(); });
    if (pristine == mWindows.end() || BusyState::shared().isBusy())
        return addWindow(std::move(document));
    (*pristine)->replaceDocument(std::move(document));
    (*pristine)->bringToFront();
    return *pristine;
}

void Application::showDocument(std::shared_ptr<SoundDocument> document, DocumentWindow* window)
{
    const QStringList warnings = document->openWarnings();
    if (window)
        window->endOpening(std::move(document));
    else
        window = windowFor(std::move(document));
    if (!warnings.isEmpty())
        QMetaObject::invokeMethod(
            window, [window, warnings] { window->alerts().showWarning(warnings.join(u'\n')); },
            Qt::QueuedConnection);
}

void Application::showOpenError(const std::filesystem::path& path, const Error& error)
{
    DocumentWindow* const window = frontWindow();
    //: %1 is the name of a file, %2 the reason
    //% "“%1” could not be opened.\n\n%2"
    const QString message = qtTrId("open-error").arg(ItemNames::shown(displayName(path)), error.message);
    QMetaObject::invokeMethod(
        this,
        [window = QPointer<DocumentWindow>(window), message] { WindowAlerts(window).showError(message); },
        Qt::QueuedConnection);
}

std::vector<MenuHost*> Application::documentWindows() const
{
    return {mWindows.begin(), mWindows.end()};
}

void Application::windowClosed(DocumentWindow* window)
{
    std::erase(mWindows, window);
    finishIfIdle();
}

void Application::finishIfIdle()
{
    if (mWindows.empty() && mJobs.empty())
        Q_EMIT finished();
}

bool Application::quit()
{
    if (BusyState::shared().isBusy())
        return false;
    // Nothing is closed before everything was asked.
    const std::vector<DocumentWindow*> windows = mWindows;
    for (DocumentWindow* const window : windows) {
        if (!window->prepareToClose())
            return false;
    }
    for (OpenJob* const job : mJobs)
        job->deleteLater();
    mJobs.clear();
    for (DocumentWindow* const window : windows)
        window->closeWithoutAsking();
    finishIfIdle();
    return true;
}

void Application::endAtOnce()
{
    if (BusyState::shared().isBusy()) {
        connect(&BusyState::shared(), &BusyState::becameIdle, this, &Application::endAtOnce,
                Qt::UniqueConnection);
        BusyState::shared().cancel();
        return;
    }
    if (std::exchange(mIsEnding, true))
        return;
    // Completing a take runs the event loop, in which other windows may close.
    const std::vector<QPointer<DocumentWindow>> windows(mWindows.begin(), mWindows.end());
    for (const QPointer<DocumentWindow>& window : windows)
        if (window)
            window->keepForNextStart();
    // Also out of a dialog or a long operation that is still open.
    QCoreApplication::exit();
}

void Application::showPreferences()
{
    if (!mPreferences) {
        mPreferences = new PreferencesDialog(frontWindow());
        mPreferences->setAttribute(Qt::WA_DeleteOnClose);
    }
    mPreferences->show();
    mPreferences->raise();
    mPreferences->activateWindow();
}

void Application::offerRecovery()
{
    mLeftOverSearch = std::make_unique<LeftOverSearch>([this](std::vector<LeftOverSound> sounds) {
        if (!sounds.empty())
            showRecovery(std::move(sounds));
    });
}

void Application::showRecovery(std::vector<LeftOverSound> sounds)
{
    // Without a parent: it stays when the window in front is closed.
    mRecovery = new RecoveryWindow(std::move(sounds),
                                   [this](const LeftOverSound& sound) { return openLeftOver(sound); });
    mRecovery->setAttribute(Qt::WA_DeleteOnClose);
    mRecovery->show();
    mRecovery->raise();
    mRecovery->activateWindow();
}

MaybeError Application::openLeftOver(const LeftOverSound& sound)
{
    MaybeError error;
    std::shared_ptr<SoundDocument> document = LeftOverSounds::open(sound, &error);
    if (document) {
        document->setTitle(leftOverTitle(sound));
        showDocument(std::move(document), nullptr);
    }
    return error;
}

void Application::removeScratchFiles()
{
    AudioClipboard::clipboard().setContents(nullptr);
    // What holds a sample stays until somebody answered for it.
    ScratchFolder::removeLeftOversUpTo(TempFile::headerLength);
}

} // namespace velloria
