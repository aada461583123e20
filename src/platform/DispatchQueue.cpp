#include "platform/DispatchQueue.h"

#include "platform/ThreadCache.h"

#include <cassert>
#include <deque>
#include <thread>

namespace velloria
{

void DispatchGroup::enter()
{
    const std::lock_guard lock(mMutex);
    ++mNumRunning;
}

void DispatchGroup::leave()
{
    // Told under the lock: a waiter may destroy the group as soon as it has it.
    const std::lock_guard lock(mMutex);
    assert(mNumRunning > 0);
    if (--mNumRunning == 0)
        mIdle.notify_all();
}

void DispatchGroup::wait()
{
    std::unique_lock lock(mMutex);
    mIdle.wait(lock, [this] { return mNumRunning == 0; });
}

bool DispatchGroup::isIdle() const
{
    const std::lock_guard lock(mMutex);
    return mNumRunning == 0;
}

/// One thread at a time has the queue's turn: a cached thread that works off asynchronous jobs, or the caller
/// of sync(). Who ends its turn hands it to whoever is first in line.
struct DispatchQueue::State {
    /// A thread in sync() that stands in line.
    struct Waiter {
        std::condition_variable granted;
        bool hasTurn = false;
    };
    /// Either a job for a cached thread, or a waiter.
    struct Entry {
        std::function<void()> job;
        Waiter* waiter = nullptr;
    };

    std::mutex mutex;
    std::deque<Entry> line;
    bool isBusy = false;
    std::thread::id turnHolder;

    void takeTurn(std::unique_lock<std::mutex>& lock);
    void runJobs(std::unique_lock<std::mutex>& lock);
    static void passTurn(const std::shared_ptr<State>& state, const std::unique_lock<std::mutex>& lock);
    static void workOff(const std::shared_ptr<State>& state);
};

void DispatchQueue::State::takeTurn(std::unique_lock<std::mutex>& lock)
{
    assert(turnHolder != std::this_thread::get_id() && "sync() from a job of the same queue");
    if (isBusy) {
        Waiter waiter;
        line.push_back({nullptr, &waiter});
        waiter.granted.wait(lock, [&waiter] { return waiter.hasTurn; });
    }
    isBusy = true;
    turnHolder = std::this_thread::get_id();
}

/// Runs the jobs in line up to the first waiter. The caller has the turn.
void DispatchQueue::State::runJobs(std::unique_lock<std::mutex>& lock)
{
    while (!line.empty() && line.front().job) {
        std::function<void()> job = std::move(line.front().job);
        line.pop_front();
        lock.unlock();
        job();
        job = nullptr;
        lock.lock();
    }
}

void DispatchQueue::State::passTurn(const std::shared_ptr<State>& state, const std::unique_lock<std::mutex>&)
{
    state->turnHolder = {};
    if (state->line.empty()) {
        state->isBusy = false;
    } else if (Waiter* waiter = state->line.front().waiter) {
        state->line.pop_front();
        waiter->hasTurn = true;
        waiter->granted.notify_one();
    } else {
        runOnCachedThread([state] { workOff(state); });
    }
}

void DispatchQueue::State::workOff(const std::shared_ptr<State>& state)
{
    std::unique_lock lock(state->mutex);
    state->turnHolder = std::this_thread::get_id();
    state->runJobs(lock);
    passTurn(state, lock);
}

DispatchQueue::DispatchQueue(const QString& label)
    : mLabel(label)
    , mState(std::make_shared<State>())
{
}

DispatchQueue::~DispatchQueue()
{
    std::unique_lock lock(mState->mutex);
    if (mState->turnHolder == std::this_thread::get_id()) {
        // The last owner went away inside a job of this queue: waiting would be for ourselves.
        mState->runJobs(lock);
        return;
    }
    while (mState->isBusy) {
        mState->takeTurn(lock);
        State::passTurn(mState, lock);
    }
}

void DispatchQueue::async(std::function<void()> job)
{
    assert(job);
    {
        const std::lock_guard lock(mState->mutex);
        mState->line.push_back({std::move(job), nullptr});
        if (mState->isBusy)
            return;
        mState->isBusy = true;
    }
    runOnCachedThread([state = mState] { State::workOff(state); });
}

void DispatchQueue::async(const std::shared_ptr<DispatchGroup>& group, std::function<void()> job)
{
    group->enter();
    async([group, job = std::move(job)]() mutable {
        job();
        // What the job held is gone before the group's waiters go on.
        job = nullptr;
        group->leave();
    });
}

void DispatchQueue::sync(const std::function<void()>& job)
{
    std::unique_lock lock(mState->mutex);
    mState->takeTurn(lock);
    lock.unlock();
    job();
    lock.lock();
    State::passTurn(mState, lock);
}

} // namespace velloria
