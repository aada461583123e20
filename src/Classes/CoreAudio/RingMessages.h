#pragma once

#include <atomic>
#include <cstdint>

namespace velloria
{

/// What a ring has to say about calls that it refused. A ring between ordinary threads says it on standard
/// output at once. A ring whose calls come from a device's thread must not: it only notes it, and a thread
/// that may print does so through printPending().
class RingMessages
{
public:
    enum Message : uint32_t { refusedAppend = 1, refusedConsume = 2, refusedRewrite = 4 };
    enum class When { atOnce, later };

    explicit RingMessages(When when)
        : mWhen(when)
    {
    }

    void report(Message message);
    /// Prints every kind of message that was noted since the last call, once. Not for a device's thread.
    void printPending();

private:
    const When mWhen;
    std::atomic<uint32_t> mPending{0};
};

} // namespace velloria
