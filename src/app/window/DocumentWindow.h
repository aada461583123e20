#pragma once

#include "app/menus/MenuHost.h"
#include "app/progress/WindowAlerts.h"
#include "app/waveform/DocumentSubject.h"

#include <QMainWindow>
#include <QPointer>
#include <QTimer>
#include <memory>

namespace velloria
{

class DocumentMenus;
class HistoryDock;
class MarkerListDock;
class MessageBar;
class OpeningBar;
class OpenJob;
class StatusLine;
class TransportBar;

/// The window of one document. It lends the controller its messages and progress, and shows what the
/// controller tells; the commands are in the action groups, one a menu. Main thread; deletes itself when
/// closed.
class DocumentWindow : public QMainWindow, public SoundControllerHost, public MenuHost
{
    Q_OBJECT

public:
    DocumentWindow(std::shared_ptr<SoundDocument> document, Editor& editor);
    ~DocumentWindow() override;

    DocumentMenus& menus() { return *mMenus; }

    /// New, empty and untouched: opening a file may take its place.
    bool isPristine() const;
    /// Puts another document in this one's place, with a history of its own.
    void replaceDocument(std::shared_ptr<SoundDocument> document);
    /// Until endOpening() the document is what a job has decoded so far: it can be looked at, but not changed
    /// nor saved. Escape, Cancel and closing the window cancel the job, whose owner then closes the window.
    void beginOpening(OpenJob& job);
    /// Installs the complete document; view, cue and selection stay where they are.
    void endOpening(std::shared_ptr<SoundDocument> document);
    /// Whether the document is what this job decodes.
    bool shows(const OpenJob& job) const;
    /// Puts dialogs away and offers to save; false when the window must stay: a question on it is open, or
    /// the person decided so.
    bool prepareToClose();
    void closeWithoutAsking();
    /// Ends what plays or records and keeps what is not saved where the next start finds it.
    void keepForNextStart();

    // MenuHost
    QWidget& widget() override { return *this; }
    Editor& editor() override { return mEditor; }
    SoundController& controller() override { return *mController; }
    WaveformView& view() override { return *mView; }
    bool isOpening() const override { return mOpeningBar != nullptr; }
    void reopen() override;
    void updateState() override;
    /// After the first layout the document is shown at the default zoom.
    void bringToFront() override;

    // MenuHost and SoundControllerHost
    Alerts& alerts() override { return mAlerts; }
    std::unique_ptr<Progress> beginProgress(const QString& title) override;

    // SoundControllerHost (DocumentWindowHost.cpp)
    void resultIsPartial(PartialResult result) override;
    void effectDidRemark(const QString& name, const EffectRemark& remark) override;
    void selectionDidChange() override;
    void cueDidChange() override;
    void documentDidReload() override;
    void markersDidChange() override;
    void setNeedsDisplayWithFrameOffset(int64_t offset, int64_t length) override;
    void revealSelection() override;
    void constrainRevealed() override;
    WaveformViewGeometry* mainView() override;
    void transportDidChange() override;
    void outputLevelsDidChange(double leftDB, double rightDB) override;
    void outputLoudnessDidChange(const LoudnessReading& reading) override;
    void playbackVolumeDidChange() override;
    void playbackFailed(const QString& message) override;
    void playbackWasInterrupted(StopReason reason) override;
    void documentDidGrow() override;
    void recordingFailed(const QString& message) override;

Q_SIGNALS:
    void closed(velloria::DocumentWindow* window);

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool event(QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void adopt(std::shared_ptr<SoundDocument> document);
    // DocumentWindowParts.cpp
    void buildView();
    void buildMenus();
    void buildToolBar();
    void buildTransportBar();
    void buildHistory();
    void buildMarkerList();

    void updateTitle();
    void updateFormat();
    void updateActivity();
    /// Says, once, that another program changed the file that the document lives in or reads.
    void tellOfChangedFile();
    void settingsDidChange();
    void showOrHideLoudness();
    void cancelOpening();
    void updateEditing();
    bool finishTake();
    bool confirmClosing();
    /// True while a dialog on this window waits for an answer.
    bool hasQuestion() const;

    Editor& mEditor;
    WindowAlerts mAlerts;
    // A controller that goes away may still tell of it.
    std::unique_ptr<DocumentMenus> mMenus;
    std::unique_ptr<SoundController> mController;
    std::unique_ptr<DocumentSubject> mSubject;
    WaveformView* mView = nullptr;
    StatusLine* mStatusLine = nullptr;
    MessageBar* mMessageBar = nullptr;
    QString mToldChange;
    TransportBar* mTransportBar = nullptr;
    HistoryDock* mHistory = nullptr;
    MarkerListDock* mMarkerList = nullptr;
    QPointer<OpenJob> mJob;
    OpeningBar* mOpeningBar = nullptr;
    QTimer mActivityTimer;
    int mSettingsToken = 0;
    bool mWasShown = false;
    bool mWasRecording = false;
    bool mClosesWithoutAsking = false;
    bool mIsDiscarded = false; ///< the person said so at closing
};

} // namespace velloria
