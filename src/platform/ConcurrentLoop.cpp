#include "platform/DispatchQueue.h"

#include <QThread>
#include <algorithm>
#include <atomic>
#include <list>
#include <thread>
#include <utility>

namespace velloria
{

namespace
{

/// The loops that the present thread is inside of, those that it only helps with among them.
thread_local int tDepth = 0;

/// One call of runConcurrently(), on its caller's stack.
struct Loop {
    Loop(int countToRun, const std::function<void(int)>& function)
        : count(countToRun)
        , fn(function)
        , depth(tDepth + 1)
    {
    }

    const int count;
    const std::function<void(int)>& fn;
    const int depth;
    std::atomic<int> nextIndex = 0;
    int numHelpers = 0;
    std::condition_variable helpersLeft;

    void runAvailable()
    {
        // Relaxed: the indexes carry no data; starts and ends are ordered by the crew's lock.
        for (;;) {
            const int index = nextIndex.fetch_add(1, std::memory_order_relaxed);
            if (index >= count)
                return;
            const int before = std::exchange(tDepth, depth);
            fn(index);
            tDepth = before;
        }
    }
};

/// Threads that help with any open loop, one per core besides the caller's. Whoever opens a loop works on it
/// too and waits only for calls that another thread is already running, so loops inside loops end.
class Crew
{
public:
    Crew()
        : mNumWorkers(std::max(0, QThread::idealThreadCount() - 1))
    {
        for (int i = 0; i < mNumWorkers; ++i)
            std::thread([this] { work(); }).detach();
    }

    void run(Loop& loop)
    {
        const auto entry = open(loop);
        loop.runAvailable();
        std::unique_lock lock(mMutex);
        mOpenLoops.erase(entry);
        loop.helpersLeft.wait(lock, [&loop] { return loop.numHelpers == 0; });
    }

    void waitAndHelp(const std::function<bool()>& isDone)
    {
        std::unique_lock lock(mMutex);
        while (!isDone()) {
            // Never with a loop that this one is inside of: its other calls may wait for the same thing.
            if (Loop* const loop = findUnfinished(tDepth + 1))
                help(*loop, lock);
            else
                mWake.wait(lock);
        }
    }

    void wakeAll()
    {
        // With the lock, since who looked before may not wait yet.
        const std::lock_guard lock(mMutex);
        mWake.notify_all();
    }

private:
    std::list<Loop*>::iterator open(Loop& loop)
    {
        const std::lock_guard lock(mMutex);
        const auto entry = mOpenLoops.insert(mOpenLoops.end(), &loop);
        // One wake might reach a waiting call that must not help with this one.
        if (mNumWorkers > 0)
            mWake.notify_all();
        return entry;
    }

    Loop* findUnfinished(int leastDepth) const
    {
        const auto isUnfinished = [leastDepth](const Loop* loop) {
            return loop->depth >= leastDepth && loop->nextIndex.load(std::memory_order_relaxed) < loop->count;
        };
        const auto found = std::find_if(mOpenLoops.begin(), mOpenLoops.end(), isUnfinished);
        return found == mOpenLoops.end() ? nullptr : *found;
    }

    void work()
    {
        std::unique_lock lock(mMutex);
        for (;;) {
            Loop* loop = nullptr;
            mWake.wait(lock, [this, &loop] { return (loop = findUnfinished(1)) != nullptr; });
            help(*loop, lock);
        }
    }

    static void help(Loop& loop, std::unique_lock<std::mutex>& lock)
    {
        ++loop.numHelpers;
        lock.unlock();
        loop.runAvailable();
        lock.lock();
        if (--loop.numHelpers == 0)
            loop.helpersLeft.notify_one();
    }

    std::mutex mMutex;
    std::condition_variable mWake;
    std::list<Loop*> mOpenLoops;
    const int mNumWorkers;
};

/// Never destroyed: its threads live as long as the process.
Crew& crew()
{
    static auto* const crew = new Crew;
    return *crew;
}

} // namespace

void runConcurrently(int count, const std::function<void(int)>& fn)
{
    if (count <= 1) {
        if (count == 1)
            fn(0);
        return;
    }
    Loop loop(count, fn);
    crew().run(loop);
}

void waitAndHelp(const std::function<bool()>& isDone)
{
    crew().waitAndHelp(isDone);
}

void wakeWaitingCalls()
{
    crew().wakeAll();
}

} // namespace velloria
