#include "app/progress/ProgressSheet.h"

#include "app/progress/ProgressPanel.h"
#include "platform/DispatchQueue.h"

#include <QCoreApplication>
#include <QThread>

namespace velloria
{

namespace
{

constexpr qint64 kEventsIntervalMilliseconds = 33;

} // namespace

ProgressSheet::ProgressSheet(const QString& title, QWidget* parent)
    : mOperation([shared = mShared] { shared->isCancelled = true; })
    , mPanel(std::make_unique<ProgressPanel>(title, parent))
{
    mShared->sheet = this;
    Progress::setTitle(title);
    mOperation.setPanel(mPanel.get());
    QObject::connect(mPanel.get(), &ProgressPanel::cancelRequested,
                     [shared = mShared] { shared->isCancelled = true; });
    mElapsed.start();
}

ProgressSheet::~ProgressSheet()
{
    mShared->sheet = nullptr;
    // Escape and Cancel must not reach a panel that is going away.
    mPanel->disconnect();
}

void ProgressSheet::setTitle(const QString& title)
{
    Progress::setTitle(title);
    mPanel->setTitle(title);
}

void ProgressSheet::setProgressValue(double value)
{
    if (QThread::currentThread() == mPanel->thread()) {
        showValue(value);
        return;
    }
    postToMainThread([shared = mShared, value] {
        if (shared->sheet)
            shared->sheet->showValue(value);
    });
}

void ProgressSheet::showValue(double value)
{
    const qint64 now = mElapsed.elapsed();
    if (mIsHandlingEvents || now - mLastHandled < kEventsIntervalMilliseconds)
        return;
    const ProgressClock::Display display = mClock.update(static_cast<double>(now) / 1000, value);
    if (display.isDue)
        mPanel->show(display);
    if (mShared->isCancelled)
        mPanel->showCancelling();
    handleEvents();
    mLastHandled = mElapsed.elapsed();
}

void ProgressSheet::handleEvents()
{
    mIsHandlingEvents = true;
    // What is typed before the sheet is there is kept for afterwards; then only Cancel counts.
    QCoreApplication::processEvents(mPanel->isVisible() ? QEventLoop::AllEvents
                                                        : QEventLoop::ExcludeUserInputEvents);
    mIsHandlingEvents = false;
}

} // namespace velloria
