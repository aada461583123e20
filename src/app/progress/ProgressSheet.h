#pragma once

#include "app/progress/BusyState.h"
#include "app/progress/ProgressClock.h"
#include "platform/Progress.h"

#include <QElapsedTimer>
#include <atomic>
#include <memory>

class QWidget;

namespace velloria
{

class ProgressPanel;

/// The progress of work that runs on the main thread. It keeps the windows drawing: while the work reports,
/// events are handled about 30 times a second, and BusyState keeps every command out but Cancel. It becomes
/// visible only when the whole will take more than a second. Reports from other threads are passed on to the
/// main thread.
class ProgressSheet : public Progress
{
public:
    ProgressSheet(const QString& title, QWidget* parent);
    ~ProgressSheet() override;

    void setTitle(const QString& title) override;
    void setProgressValue(double value) override;
    bool isCancelled() const override { return mShared->isCancelled; }

private:
    /// What reports from other threads may still refer to when the sheet is gone.
    struct Shared {
        std::atomic<bool> isCancelled = false;
        ProgressSheet* sheet = nullptr; ///< main thread
    };
    void showValue(double value);
    void handleEvents();

    std::shared_ptr<Shared> mShared = std::make_shared<Shared>();
    BusyState::Operation mOperation;
    std::unique_ptr<ProgressPanel> mPanel;
    QElapsedTimer mElapsed;
    ProgressClock mClock;
    qint64 mLastHandled = 0; ///< milliseconds
    bool mIsHandlingEvents = false;
};

} // namespace velloria
