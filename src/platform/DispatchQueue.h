#pragma once

#include <QString>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

namespace velloria
{

/// Counts running jobs; wait() returns when there are none.
class DispatchGroup
{
public:
    void enter();
    void leave();
    void wait();
    bool isIdle() const;

private:
    mutable std::mutex mMutex;
    std::condition_variable mIdle;
    int mNumRunning = 0;
};

/// A labelled serial queue: its jobs run one after another, in order, never two at once. A thread exists only
/// while jobs wait. sync() on an idle queue runs the job in place, so it costs a lock and no change of
/// thread.
class DispatchQueue
{
public:
    explicit DispatchQueue(const QString& label);
    /// Waits for the jobs that were handed in.
    ~DispatchQueue();
    DispatchQueue(const DispatchQueue&) = delete;
    DispatchQueue& operator=(const DispatchQueue&) = delete;

    const QString& label() const { return mLabel; }

    void async(std::function<void()> job);
    void async(const std::shared_ptr<DispatchGroup>& group, std::function<void()> job);

    /// Runs the job after all jobs handed in before it and returns when it is done. Not from a job of this
    /// same queue.
    void sync(const std::function<void()>& job);

private:
    struct State;
    QString mLabel;
    std::shared_ptr<State> mState;
};

/// Runs the job later on the main thread (Qt's event loop), after what is already posted. Any thread.
void postToMainThread(std::function<void()> job);

/// Runs fn(i) for i in 0..count-1 spread over the machine's cores and returns when all are done. The calls
/// must not depend on each other.
void runConcurrently(int count, const std::function<void(int)>& fn);

/// For a call of runConcurrently() that needs what another call of the same loop is computing: helps with the
/// loops inside that one, so that no core idles meanwhile, and returns when isDone() answers true. Whoever
/// makes it so calls wakeWaitingCalls() then. isDone is called under a lock and does not block.
void waitAndHelp(const std::function<bool()>& isDone);
void wakeWaitingCalls();

} // namespace velloria
