#pragma once

#include "platform/hardware/PulseLibrary.h"

#include <chrono>
#include <functional>
#include <memory>

namespace velloria
{

/// The connection to a sound server: libpulse's thread with one context. All calls of libpulse that concern
/// the context or its streams are made either on that thread or while a Lock lives. Destroyed on the main
/// thread.
class PulseConnection
{
public:
    /// What the server tells, on libpulse's thread.
    class Listener
    {
    public:
        virtual void serverDidChange() = 0;
        virtual void serverWasLost() = 0;

    protected:
        ~Listener() = default;
    };

    /// Not connected yet; null with `error` filled where there is no libpulse. A server that is alive answers
    /// within milliseconds; waits for one that hangs end after `patience`.
    static std::shared_ptr<PulseConnection> make(Listener& listener, std::chrono::milliseconds patience,
                                                 MaybeError* error);
    /// Begins to connect. The listener hears of the server as soon as it has answered.
    MaybeError connect();
    ~PulseConnection();
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    /// Ends the connection and its streams; the listener hears nothing any more. For when streams may outlive
    /// who opened it.
    void close();

    const PulseLibrary& pulse() const { return mPulse; }
    pa_context* context() const { return mContext; }

    class Lock
    {
    public:
        explicit Lock(const PulseConnection& connection)
            : mConnection(connection)
        {
            mConnection.mPulse.pa_threaded_mainloop_lock(mConnection.mLoop);
        }
        ~Lock() { mConnection.mPulse.pa_threaded_mainloop_unlock(mConnection.mLoop); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        const PulseConnection& mConnection;
    };

    /// Waits until isDone() under the lock, which it lets go of meanwhile; false where the server does not
    /// answer. After that nobody waits again until it has. Not on libpulse's thread.
    bool waitUntil(const Lock& lock, const std::function<bool()>& isDone);
    /// Makes waitUntil() look again. Under the lock or on libpulse's thread.
    void signal() const { mPulse.pa_threaded_mainloop_signal(mLoop, 0); }
    /// Calls the function once on libpulse's thread after a while, as long as the connection lives. Under the
    /// lock or on libpulse's thread. The result cancels it when it is given to cancel().
    pa_time_event* callAfter(std::chrono::milliseconds delay, pa_time_event_cb_t function, void* context);
    void cancel(pa_time_event* event) const;

    /// "<what>: <the server's reason>"; under the lock.
    Error lastError(const QString& what) const;
    /// Under the lock.
    bool isLost() const;
    /// It did not answer in time and has not since. Under the lock.
    bool isSilent() const { return mIsSilent; }
    bool wasRefused() const
    {
        const Lock lock(*this);
        return isLost();
    }
    /// Lets go of an operation that nobody waits for.
    void forget(pa_operation* operation) const;

private:
    PulseConnection(const PulseLibrary& pulse, Listener& listener, std::chrono::milliseconds patience);
    void stateDidChange();
    void subscribe();
    void noteSilence();

    const PulseLibrary& mPulse;
    Listener& mListener;
    const std::chrono::milliseconds mPatience;
    pa_threaded_mainloop* mLoop = nullptr;
    pa_context* mContext = nullptr;
    bool mIsReady = false;
    bool mIsSilent = false; ///< it did not answer in time, and has not since
};

} // namespace velloria
