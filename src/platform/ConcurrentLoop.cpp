#include "platform/DispatchQueue.h"

#include <QThread>
#include <algorithm>
#include <atomic>
#include <list>
#include <thread>

namespace velloria
{

namespace
{

/// One call of runConcurrently(), on its caller's stack.
struct Loop {
    Loop(int countToRun, const std::function<void(int)>& function)
        : count(countToRun)
        , fn(function)
    {
    }

    const int count;
    const std::function<void(int)>& fn;
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
            fn(index);
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

private:
    std::list<Loop*>::iterator open(Loop& loop)
    {
        const std::lock_guard lock(mMutex);
        const auto entry = mOpenLoops.insert(mOpenLoops.end(), &loop);
        for (int i = 0; i < std::min(loop.count - 1, mNumWorkers); ++i)
            mWake.notify_one();
        return entry;
    }

    Loop* findUnfinished() const
    {
        const auto isUnfinished = [](const Loop* loop) {
            return loop->nextIndex.load(std::memory_order_relaxed) < loop->count;
        };
        const auto found = std::find_if(mOpenLoops.begin(), mOpenLoops.end(), isUnfinished);
        return found == mOpenLoops.end() ? nullptr : *found;
    }

    void work()
    {
        std::unique_lock lock(mMutex);
        for (;;) {
            Loop* loop = nullptr;
            mWake.wait(lock, [this, &loop] { return (loop = findUnfinished()) != nullptr; });
            ++loop->numHelpers;
            lock.unlock();
            loop->runAvailable();
            lock.lock();
            if (--loop->numHelpers == 0)
                loop->helpersLeft.notify_one();
        }
    }

    std::mutex mMutex;
    std::condition_variable mWake;
    std::list<Loop*> mOpenLoops;
    const int mNumWorkers;
};

} // namespace

void runConcurrently(int count, const std::function<void(int)>& fn)
{
    if (count <= 1) {
        if (count == 1)
            fn(0);
        return;
    }
    // Never destroyed: its threads live as long as the process.
    static auto* const crew = new Crew;
    Loop loop(count, fn);
    crew->run(loop);
}

} // namespace velloria
