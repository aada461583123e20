#include "platform/hardware/PulseStreams.h"

#include <algorithm>

namespace velloria
{

namespace
{

// A sink that is suspended never says that it has played everything.
constexpr std::chrono::milliseconds kDrainPatience(1500);

} // namespace

PulseOutput::PulseOutput(std::shared_ptr<PulseConnection> connection, std::shared_ptr<PulseStreamList> list,
                         const PulseDevice& device, const AudioHardware::StreamRequest& request,
                         OutputClient& client)
    : PulseStream(std::move(connection), std::move(list), device, request)
    , mSpec(device.sampleSpec)
    , mServerMap(device.channelMap)
    , mClient(client)
    , mLatencySeconds(request.latencySeconds)
{
    mSpec.format = PA_SAMPLE_FLOAT32NE;
    if (mSpec.channels < 2) {
        // The server folds two channels into a lone loudspeaker; half of the sound would be lost otherwise.
        mSpec.channels = 2;
        pulse().pa_channel_map_init_extend(&mServerMap, 2, PA_CHANNEL_MAP_DEFAULT);
    }
}

MaybeError PulseOutput::start()
{
    if (mIsRunning)
        return std::nullopt;
    const PulseConnection::Lock lock(*mConnection);
    mIsStarting = true;
    finish(StopReason::requested);
    mNumFramesWritten = 0;
    if (!make(mSpec, mServerMap, "production"))
        return mConnection->lastError(QStringLiteral("The audio device cannot be used"));
    pulse().pa_stream_set_write_callback(
        mStream,
        [](pa_stream*, size_t numBytes, void* self) { static_cast<PulseOutput*>(self)->write(numBytes); },
        this);
    pulse().pa_stream_set_underflow_callback(
        mStream,
        [](pa_stream*, void* self) {
            static_cast<PulseOutput*>(self)->mNumGaps.fetch_add(1, std::memory_order_relaxed);
        },
        this);
    const auto frameBytes = static_cast<uint32_t>(sizeof(float)) * mSpec.channels;
    constexpr auto serversChoice = static_cast<uint32_t>(-1);
    pa_buffer_attr buffer = {};
    buffer.maxlength = serversChoice;
    buffer.tlength = static_cast<uint32_t>(mSpec.rate * mLatencySeconds) * frameBytes;
    buffer.prebuf = serversChoice;
    buffer.minreq = serversChoice;
    buffer.fragsize = serversChoice;
    uint32_t flags = PA_STREAM_ADJUST_LATENCY | PA_STREAM_AUTO_TIMING_UPDATE | PA_STREAM_INTERPOLATE_TIMING;
    if (mDevice.channelMap.channels == mSpec.channels)
        flags |= PA_STREAM_NO_REMAP_CHANNELS | PA_STREAM_NO_REMIX_CHANNELS;
    pulse().pa_stream_connect_playback(mStream, mDevice.pulseName.constData(), &buffer,
                                       static_cast<pa_stream_flags_t>(flags), nullptr, nullptr);
    return waitUntilReady(lock);
}

double PulseOutput::now() const
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// Until a frame is heard that is written now.
double PulseOutput::secondsToEar() const
{
    pa_usec_t latency = 0;
    int isNegative = 0;
    if (pulse().pa_stream_get_latency(mStream, &latency, &isNegative) == 0)
        return isNegative ? 0.0 : static_cast<double>(latency) / 1e6;
    // The server has not told yet, so it is just beginning.
    return static_cast<double>(mNumFramesWritten) / mSpec.rate;
}

void PulseOutput::write(size_t numBytes)
{
    const size_t frameBytes = sizeof(float) * mSpec.channels;
    mMostFramesAsked = std::max(mMostFramesAsked.load(), static_cast<int64_t>(numBytes / frameBytes));
    const double heardFrom = now() + secondsToEar();
    size_t numDone = 0;
    while (const size_t numFrames = renderNext(numBytes - numDone * frameBytes))
        numDone += numFrames;
    mNumFramesWritten += numDone;
    mClient.didRender(heardFrom, heardFrom + static_cast<double>(numDone) / mSpec.rate);
}

/// Frames that went to the server in one piece; 0 when all are there.
size_t PulseOutput::renderNext(size_t numBytes)
{
    const size_t frameBytes = sizeof(float) * mSpec.channels;
    void* data = nullptr;
    size_t size = numBytes;
    if (numBytes < frameBytes || pulse().pa_stream_begin_write(mStream, &data, &size) < 0 || !data)
        return 0;
    const size_t numFrames = std::min(size, numBytes) / frameBytes;
    if (numFrames == 0) {
        pulse().pa_stream_cancel_write(mStream);
        return 0;
    }
    mMap.render(mClient, static_cast<float*>(data), mSpec.channels, static_cast<uint32_t>(numFrames));
    pulse().pa_stream_write(mStream, data, numFrames * frameBytes, nullptr, 0, PA_SEEK_RELATIVE);
    return numFrames;
}

void PulseOutput::drain()
{
    pulse().pa_stream_set_write_callback(mStream, nullptr, nullptr);
    // That the device runs dry is now the point.
    pulse().pa_stream_set_underflow_callback(mStream, nullptr, nullptr);
    pa_operation* const operation = pulse().pa_stream_drain(
        mStream,
        [](pa_stream*, int, void* self) { static_cast<PulseOutput*>(self)->finish(StopReason::requested); },
        this);
    if (!operation) {
        finish(StopReason::requested);
        return;
    }
    mConnection->forget(operation);
    mAlarm = mConnection->callAfter(
        kDrainPatience,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
            static_cast<PulseOutput*>(self)->finish(StopReason::requested);
        },
        static_cast<void*>(this));
}

void PulseOutput::stop(StopMode mode)
{
    const PulseConnection::Lock lock(*mConnection);
    if (!mStream)
        return;
    if (mode == StopMode::atOnce)
        finish(StopReason::requested);
    else if (!mAlarm)
        drain();
}

} // namespace velloria
