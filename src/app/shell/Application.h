#pragma once

#include "app/desktop/DesktopPasteboard.h"
#include "app/desktop/StartRequest.h"
#include "app/look/PlainTexts.h"
#include "app/menus/Editor.h"
#include "app/preferences/AppearanceController.h"
#include "document/LeftOverSounds.h"

#include <QObject>
#include <QPointer>
#include <filesystem>
#include <memory>
#include <vector>

namespace velloria
{

class DocumentWindow;
class LeftOverSearch;
class OpenJob;
class PreferencesDialog;
class RecoveryWindow;

/// The running editor: its windows, the files on their way in, and the end. Main thread; needs a
/// QApplication.
class Application : public QObject, public Editor
{
    Q_OBJECT

public:
    explicit Application(QObject* parent = nullptr);
    ~Application() override;

    /// Serves a start: a window for each file, a new document where there is no file.
    void serve(const StartRequest& request);

    void newDocument() override;
    void openFiles(const std::vector<std::filesystem::path>& paths) override;
    bool quit() override;
    void showPreferences() override;
    std::vector<MenuHost*> documentWindows() const override;
    /// Ends the event loop without a question, as somebody asks who cannot be answered. Recordings are
    /// completed; what is not saved is kept in the scratch folder, and the next start offers it.
    void endAtOnce();
    /// Shows the sounds that earlier runs left, if there are any.
    void offerRecovery();
    /// Opens one of them in a window.
    MaybeError openLeftOver(const LeftOverSound& sound);

    const std::vector<DocumentWindow*>& windows() const { return mWindows; }
    bool isOpening() const { return !mJobs.empty(); }

Q_SIGNALS:
    /// The last window closed and nothing is on its way.
    void finished();

private:
    DocumentWindow* addWindow(std::shared_ptr<SoundDocument> document);
    void openFile(const std::filesystem::path& path);
    void installPreset(const std::filesystem::path& path);
    void showDecoding(OpenJob& job, const DecodingStart& start);
    void didOpen(OpenJob* job, std::shared_ptr<SoundDocument> document, const MaybeError& error);
    DocumentWindow* windowShowing(const OpenJob& job) const;
    /// A pristine window that the document took over, or a new one.
    DocumentWindow* windowFor(std::shared_ptr<SoundDocument> document);
    void showDocument(std::shared_ptr<SoundDocument> document, DocumentWindow* window);
    void showOpenError(const std::filesystem::path& path, const Error& error);
    void windowClosed(DocumentWindow* window);
    void finishIfIdle();
    void takeJobOff(OpenJob* job);
    DocumentWindow* windowOf(const std::filesystem::path& path) const;
    DocumentWindow* frontWindow() const;
    void bringToFront(const StartRequest& request);
    void runWhenIdle();
    void showRecovery(std::vector<LeftOverSound> sounds);
    void removeScratchFiles();

    PlainTexts mPlainTexts;
    DesktopPasteboard mPasteboard;
    AppearanceController mAppearance;
    std::vector<DocumentWindow*> mWindows; ///< in the order of their opening
    std::vector<OpenJob*> mJobs;
    std::vector<StartRequest> mWaiting; ///< what came while a long operation ran
    QPointer<PreferencesDialog> mPreferences;
    std::unique_ptr<LeftOverSearch> mLeftOverSearch;
    QPointer<RecoveryWindow> mRecovery;
    bool mIsEnding = false;
};

} // namespace velloria
