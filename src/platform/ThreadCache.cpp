#include "platform/ThreadCache.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace velloria
{

namespace
{

constexpr std::chrono::seconds kIdleTime(5);

class ThreadCache
{
public:
    void run(std::function<void()> task)
    {
        const std::lock_guard lock(mMutex);
        mTasks.push_back(std::move(task));
        if (mNumIdle >= mTasks.size())
            mWake.notify_one();
        else
            std::thread([this] { work(); }).detach();
    }

private:
    void work()
    {
        std::unique_lock lock(mMutex);
        while (waitForTask(lock)) {
            std::function<void()> task = std::move(mTasks.front());
            mTasks.pop_front();
            lock.unlock();
            task();
            task = nullptr;
            lock.lock();
        }
    }

    bool waitForTask(std::unique_lock<std::mutex>& lock)
    {
        ++mNumIdle;
        const bool hasTask = mWake.wait_for(lock, kIdleTime, [this] { return !mTasks.empty(); });
        --mNumIdle;
        return hasTask;
    }

    std::mutex mMutex;
    std::condition_variable mWake;
    std::deque<std::function<void()>> mTasks;
    size_t mNumIdle = 0;
};

} // namespace

void runOnCachedThread(std::function<void()> task)
{
    // Never destroyed: its threads may outlive every static object.
    static auto* const cache = new ThreadCache;
    cache->run(std::move(task));
}

} // namespace velloria
