#pragma once

#include <QEventLoop>
#include <QObject>
#include <QPointer>
#include <chrono>
#include <functional>

class QAction;
class QDialog;
class QMenu;

namespace velloria
{

class MenuHost;
class StereoMeter;
class TransportBar;

/// The recording part of the Transport menu and of its bar: Record, the two sheets, the levels window. While
/// the window records it shows the input's meters and keeps the machine awake. Main thread.
class RecordActions : public QObject
{
    Q_OBJECT

public:
    RecordActions(MenuHost& window, QMenu& transportMenu);
    ~RecordActions() override;

    QAction* recordAction() const { return mRecord; }
    QAction* automaticAction() const { return mAutomatic; }
    QAction* timerAction() const { return mTimer; }
    QAction* levelsAction() const { return mLevels; }

    /// Behind the buttons and meters of playing.
    void addToBar(TransportBar& bar);
    void update();
    /// Ends a recording and puts its sheets away; returns when the take is complete. False where it does not
    /// come to an end: what was recorded is left behind for the next start then. A window that has to wait
    /// for longer than a moment is hidden, and the others go on meanwhile.
    bool finish();
    /// While finish() waits.
    bool isFinishing() const { return mIsFinishing; }
    void sayThatItDoesNotEnd();
    /// How long finish() waits.
    void setPatience(std::chrono::milliseconds patience) { mPatience = patience; }

private:
    void addRecord(QMenu& menu);
    void addSheets(QMenu& menu);
    QAction* addKey(const std::function<void()>& react);
    void showAutomaticRecording();
    void askForTimerRecording();
    void show(QDialog* sheet);
    bool waitForEnd(std::chrono::milliseconds patience, QEventLoop::ProcessEventsFlags events);

    MenuHost& mWindow;
    QAction* mRecord = nullptr;
    QAction* mStopBySpace = nullptr; ///< whose key is that of playing otherwise
    // Whose keys are those of recording otherwise.
    QAction* mStopByRecordKey = nullptr;
    QAction* mRecordWhilePlaying = nullptr;
    QAction* mAutomatic = nullptr;
    QAction* mTimer = nullptr;
    QAction* mLevels = nullptr;
    TransportBar* mBar = nullptr;
    StereoMeter* mInputMeters = nullptr;
    QPointer<QDialog> mSheet;
    std::chrono::milliseconds mPatience{5000};
    bool mIsFinishing = false;
    int mLevelsToken = 0;
};

} // namespace velloria
