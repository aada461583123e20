#include "platform/DispatchQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

namespace velloria
{

namespace
{

/// The jobs that wait for the main thread. Qt's event loop only says when; what is to be done, and all that
/// it refers to, is handed over under a lock of our own. One event a job, so that jobs keep their places
/// among the other events and go on coming while one of them runs an event loop of its own.
class MainThreadJobs : public QObject
{
public:
    void post(std::function<void()> job)
    {
        // Made before the lock is taken, so that the event too is handed over by it.
        auto event = std::make_unique<QEvent>(QEvent::User);
        {
            const std::lock_guard lock(mMutex);
            mJobs.push_back(std::move(job));
        }
        QCoreApplication::postEvent(this, event.release());
    }

    /// What an application leaves behind goes with it.
    void clear()
    {
        std::deque<std::function<void()>> jobs; // destroyed when the lock is free again: they may post
        const std::lock_guard lock(mMutex);
        jobs.swap(mJobs);
    }

protected:
    void customEvent(QEvent* event) override;

private:
    std::function<void()> takeFirst()
    {
        const std::lock_guard lock(mMutex);
        if (mJobs.empty())
            return {};
        std::function<void()> job = std::move(mJobs.front());
        mJobs.pop_front();
        return job;
    }

    std::mutex mMutex;
    std::deque<std::function<void()>> mJobs;
};

MainThreadJobs& mainThreadJobs();

MainThreadJobs* makeMainThreadJobs()
{
    auto* const jobs = new MainThreadJobs;
    jobs->moveToThread(qApp->thread());
    qAddPostRoutine([] { mainThreadJobs().clear(); });
    return jobs;
}

MainThreadJobs& mainThreadJobs()
{
    // Never destroyed: other threads may post for as long as the process lives.
    static MainThreadJobs* const jobs = makeMainThreadJobs();
    return *jobs;
}

void MainThreadJobs::customEvent(QEvent*)
{
    // Not by `this`, which came through Qt: another thread may have made the object just now.
    if (const std::function<void()> job = mainThreadJobs().takeFirst())
        job();
}

} // namespace

void postToMainThread(std::function<void()> job)
{
    if (qApp)
        mainThreadJobs().post(std::move(job));
}

} // namespace velloria
