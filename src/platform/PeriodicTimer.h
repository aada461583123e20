#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

namespace velloria
{

/// Runs a job every so often on a thread of its own, for as long as it lives. The job is never run twice at
/// once, and not any more once the destructor has returned.
class PeriodicTimer
{
public:
    PeriodicTimer(std::chrono::milliseconds interval, std::function<void()> job);
    /// Not from the job.
    ~PeriodicTimer();
    PeriodicTimer(const PeriodicTimer&) = delete;
    PeriodicTimer& operator=(const PeriodicTimer&) = delete;

private:
    struct State {
        std::mutex mutex;
        std::condition_variable changed;
        bool isStopping = false;
        bool hasEnded = false;
    };
    std::shared_ptr<State> mState = std::make_shared<State>();
};

} // namespace velloria
