#include "platform/hardware/PulseStreams.h"

namespace velloria
{

PulseStream::PulseStream(std::shared_ptr<PulseConnection> connection, std::shared_ptr<PulseStreamList> list,
                         const PulseDevice& device, const AudioHardware::StreamRequest& request)
    : mConnection(std::move(connection))
    , mList(std::move(list))
    , mDeviceID(request.device)
    , mDevice(device)
    , mName(request.name.toUtf8())
    , mNotice(request.didStop)
{
    mList->push_back(this);
}

PulseStream::~PulseStream()
{
    std::erase(*mList, this);
    const PulseConnection::Lock lock(*mConnection);
    mIsStarting = true; // Nobody is left to be told.
    finish(StopReason::requested);
}

pa_stream* PulseStream::make(const pa_sample_spec& spec, const pa_channel_map& map, const char* role)
{
    // More streams would only wait in line.
    if (mConnection->isSilent())
        return nullptr;
    pa_proplist* const properties = pulse().pa_proplist_new();
    pulse().pa_proplist_sets(properties, PA_PROP_MEDIA_ROLE, role);
    mStream = pulse().pa_stream_new_with_proplist(mConnection->context(), mName.constData(), &spec, &map,
                                                  properties);
    pulse().pa_proplist_free(properties);
    if (mStream)
        pulse().pa_stream_set_state_callback(
            mStream, [](pa_stream*, void* self) { static_cast<PulseStream*>(self)->stateDidChange(); }, this);
    return mStream;
}

MaybeError PulseStream::waitUntilReady(const PulseConnection::Lock& lock)
{
    mConnection->waitUntil(lock, [this] {
        const pa_stream_state_t state = pulse().pa_stream_get_state(mStream);
        return state == PA_STREAM_READY || !PA_STREAM_IS_GOOD(state);
    });
    mIsStarting = false;
    if (pulse().pa_stream_get_state(mStream) == PA_STREAM_READY) {
        mIsRunning = true;
        return std::nullopt;
    }
    const Error error = mConnection->lastError(QStringLiteral("The audio device cannot be used"));
    mIsStarting = true;
    finish(StopReason::requested);
    mIsStarting = false;
    return error;
}

void PulseStream::deviceWasLost()
{
    const PulseConnection::Lock lock(*mConnection);
    if (mIsRunning)
        finish(StopReason::deviceLost);
}

void PulseStream::stateDidChange()
{
    if (!mIsStarting && mStream && !PA_STREAM_IS_GOOD(pulse().pa_stream_get_state(mStream)))
        finish(mConnection->isLost() ? StopReason::serverLost : StopReason::deviceLost);
    mConnection->signal();
}

void PulseStream::finish(StopReason reason)
{
    if (!mStream)
        return;
    pa_stream* const stream = std::exchange(mStream, nullptr);
    pulse().pa_stream_set_state_callback(stream, nullptr, nullptr);
    pulse().pa_stream_set_write_callback(stream, nullptr, nullptr);
    pulse().pa_stream_set_read_callback(stream, nullptr, nullptr);
    pulse().pa_stream_set_underflow_callback(stream, nullptr, nullptr);
    pulse().pa_stream_set_overflow_callback(stream, nullptr, nullptr);
    pulse().pa_stream_disconnect(stream);
    pulse().pa_stream_unref(stream);
    mConnection->cancel(std::exchange(mAlarm, nullptr));
    mIsRunning = false;
    if (!mIsStarting)
        mNotice.post(reason);
}

} // namespace velloria
