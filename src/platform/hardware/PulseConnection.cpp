#include "platform/hardware/PulseConnection.h"

namespace velloria
{

PulseConnection::PulseConnection(const PulseLibrary& pulse, Listener& listener,
                                 std::chrono::milliseconds patience)
    : mPulse(pulse)
    , mListener(listener)
    , mPatience(patience)
    , mLoop(pulse.pa_threaded_mainloop_new())
{
}

std::shared_ptr<PulseConnection> PulseConnection::make(Listener& listener, std::chrono::milliseconds patience,
                                                       MaybeError* error)
{
    const PulseLibrary* const pulse = PulseLibrary::load(error);
    return std::shared_ptr<PulseConnection>(pulse ? new PulseConnection(*pulse, listener, patience)
                                                  : nullptr);
}

MaybeError PulseConnection::connect()
{
    if (!mLoop || mPulse.pa_threaded_mainloop_start(mLoop) < 0)
        return Error{Error::Code::failed, QStringLiteral("The thread for sound cannot be started.")};
    const Lock lock(*this);
    pa_proplist* const properties = mPulse.pa_proplist_new();
    mPulse.pa_proplist_sets(properties, PA_PROP_APPLICATION_NAME, "Velloria");
    mPulse.pa_proplist_sets(properties, PA_PROP_APPLICATION_ICON_NAME, "velloria");
    mContext = mPulse.pa_context_new_with_proplist(mPulse.pa_threaded_mainloop_get_api(mLoop), "Velloria",
                                                   properties);
    mPulse.pa_proplist_free(properties);
    mPulse.pa_context_set_state_callback(
        mContext, [](pa_context*, void* self) { static_cast<PulseConnection*>(self)->stateDidChange(); },
        this);
    mPulse.pa_context_set_subscribe_callback(
        mContext,
        [](pa_context*, pa_subscription_event_type_t, uint32_t, void* self) {
            static_cast<PulseConnection*>(self)->mListener.serverDidChange();
        },
        this);
    if (mPulse.pa_context_connect(mContext, nullptr, PA_CONTEXT_NOFLAGS, nullptr) < 0)
        return lastError(QStringLiteral("No sound server can be reached"));
    return std::nullopt;
}

void PulseConnection::subscribe()
{
    const auto mask = static_cast<pa_subscription_mask_t>(
        PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE | PA_SUBSCRIPTION_MASK_SERVER);
    forget(mPulse.pa_context_subscribe(mContext, mask, nullptr, nullptr));
}

PulseConnection::~PulseConnection()
{
    if (!mLoop)
        return;
    close();
    mPulse.pa_threaded_mainloop_stop(mLoop);
    if (mContext)
        mPulse.pa_context_unref(mContext);
    mPulse.pa_threaded_mainloop_free(mLoop);
}

void PulseConnection::close()
{
    if (!mContext)
        return;
    const Lock lock(*this);
    mPulse.pa_context_set_state_callback(mContext, nullptr, nullptr);
    mPulse.pa_context_set_subscribe_callback(mContext, nullptr, nullptr);
    mPulse.pa_context_disconnect(mContext);
}

void PulseConnection::stateDidChange()
{
    const bool wasReady = mIsReady;
    mIsReady |= mPulse.pa_context_get_state(mContext) == PA_CONTEXT_READY;
    if (mIsReady && !wasReady) {
        mIsSilent = false;
        subscribe();
        mListener.serverDidChange();
    } else if (wasReady && isLost()) {
        mListener.serverWasLost();
    }
    signal();
}

bool PulseConnection::isLost() const
{
    return !PA_CONTEXT_IS_GOOD(mPulse.pa_context_get_state(mContext));
}

pa_time_event* PulseConnection::callAfter(std::chrono::milliseconds delay, pa_time_event_cb_t function,
                                          void* context)
{
    const auto delayUsec = static_cast<pa_usec_t>(std::chrono::microseconds(delay).count());
    return mPulse.pa_context_rttime_new(mContext, mPulse.pa_rtclock_now() + delayUsec, function, context);
}

void PulseConnection::cancel(pa_time_event* event) const
{
    if (event)
        mPulse.pa_threaded_mainloop_get_api(mLoop)->time_free(event);
}

bool PulseConnection::waitUntil(const Lock&, const std::function<bool()>& isDone)
{
    if (mIsSilent)
        return isDone();
    const auto deadline = std::chrono::steady_clock::now() + mPatience;
    pa_time_event* const alarm = callAfter(
        mPatience,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
            static_cast<PulseConnection*>(self)->signal();
        },
        this);
    while (!isDone() && std::chrono::steady_clock::now() < deadline)
        mPulse.pa_threaded_mainloop_wait(mLoop);
    cancel(alarm);
    if (isDone())
        return true;
    noteSilence();
    return false;
}

void PulseConnection::noteSilence()
{
    mIsSilent = true;
    // Whatever it answers, it is alive again then.
    if (mIsReady)
        forget(mPulse.pa_context_get_server_info(
            mContext,
            [](pa_context*, const pa_server_info*, void* self) {
                static_cast<PulseConnection*>(self)->mIsSilent = false;
            },
            this));
}

Error PulseConnection::lastError(const QString& what) const
{
    const int code = mPulse.pa_context_errno(mContext);
    const QString reason =
        code == PA_OK ? QStringLiteral("no answer") : QString::fromUtf8(mPulse.pa_strerror(code));
    return Error{Error::Code::failed, QStringLiteral("%1: %2.").arg(what, reason)};
}

void PulseConnection::forget(pa_operation* operation) const
{
    if (operation)
        mPulse.pa_operation_unref(operation);
}

} // namespace velloria
