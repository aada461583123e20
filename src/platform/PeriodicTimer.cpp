#include "platform/PeriodicTimer.h"

#include "platform/ThreadCache.h"

namespace velloria
{

PeriodicTimer::PeriodicTimer(std::chrono::milliseconds interval, std::function<void()> job)
{
    runOnCachedThread([state = mState, interval, job = std::move(job)]() mutable {
        std::unique_lock lock(state->mutex);
        while (!state->changed.wait_for(lock, interval, [&state] { return state->isStopping; })) {
            lock.unlock();
            job();
            lock.lock();
        }
        job = nullptr;
        state->hasEnded = true;
        state->changed.notify_all();
    });
}

PeriodicTimer::~PeriodicTimer()
{
    std::unique_lock lock(mState->mutex);
    mState->isStopping = true;
    mState->changed.notify_all();
    mState->changed.wait(lock, [this] { return mState->hasEnded; });
}

} // namespace velloria
