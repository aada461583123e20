#include "platform/hardware/PulseConnection.h"

namespace velloria
{

namespace
{

// A server that is alive answers within milliseconds; one that hangs must not hang the program.
constexpr std::chrono::seconds kPatience(5);

} // namespace

PulseConnection::PulseConnection(const PulseLibrary& pulse, Listener& listener)
    : mPulse(pulse)
    , mListener(listener)
    , mLoop(pulse.pa_threaded_mainloop_new())
{
}

std::shared_ptr<PulseConnection> PulseConnection::open(Listener& listener, MaybeError* error)
{
    const PulseLibrary* const pulse = PulseLibrary::load(error);
    if (!pulse)
        return nullptr;
    std::shared_ptr<PulseConnection> connection(new PulseConnection(*pulse, listener));
    const MaybeError failure = connection->connect();
    if (!failure)
        return connection;
    if (error)
        *error = failure;
    return nullptr;
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
    const QString what = QStringLiteral("No sound server can be reached");
    if (mPulse.pa_context_connect(mContext, nullptr, PA_CONTEXT_NOFLAGS, nullptr) < 0)
        return lastError(what);
    waitUntil(lock, [this] { return mIsReady || isLost(); });
    if (!mIsReady || isLost())
        return lastError(what);
    const auto mask = static_cast<pa_subscription_mask_t>(
        PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE | PA_SUBSCRIPTION_MASK_SERVER);
    forget(mPulse.pa_context_subscribe(mContext, mask, nullptr, nullptr));
    return std::nullopt;
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
    if (wasReady && isLost())
        mListener.serverWasLost();
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
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    pa_time_event* const alarm = callAfter(
        kPatience,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
            static_cast<PulseConnection*>(self)->signal();
        },
        this);
    while (!isDone() && std::chrono::steady_clock::now() < deadline)
        mPulse.pa_threaded_mainloop_wait(mLoop);
    cancel(alarm);
    return isDone();
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
