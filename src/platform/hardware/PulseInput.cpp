#include "platform/hardware/PulseStreams.h"

#include <algorithm>
#include <utility>

namespace velloria
{

namespace
{

// How much the server collects before it hands it over.
constexpr double kFragmentSeconds = 0.02;
// A source that was idle may begin with seconds of sound in one burst, more than fits the rings behind. So
// many frames are handed on at once, and more at this multiple of the stream's pace; the rest waits in the
// stream.
constexpr double kMostFramesAtOnce = 16384;
constexpr double kFastestPace = 4;
constexpr std::chrono::milliseconds kPause(20);

} // namespace

PulseInput::PulseInput(std::shared_ptr<PulseConnection> connection, std::shared_ptr<PulseStreamList> list,
                       const PulseDevice& device, const AudioHardware::StreamRequest& request,
                       InputClient& client)
    : PulseStream(std::move(connection), std::move(list), device, request)
    , mSpec(device.sampleSpec)
    , mClient(client)
{
    mSpec.format = PA_SAMPLE_FLOAT32NE;
}

void PulseInput::setChannels(std::span<const int32_t> channels)
{
    const auto last = static_cast<int32_t>(mSpec.channels) - 1;
    for (size_t i = 0; i < std::min(channels.size(), mChannels.size()); ++i)
        mChannels[i].store(std::clamp(channels[i], 0, last), std::memory_order_relaxed);
    mNumChannels.store(channels.size() == 1 ? 1 : 2, std::memory_order_relaxed);
}

MaybeError PulseInput::start()
{
    if (mIsRunning)
        return std::nullopt;
    const PulseConnection::Lock lock(*mConnection);
    mIsStarting = true;
    finish(StopReason::requested);
    mNumFramesLeft.reset();
    if (!make(mSpec, mDevice.channelMap, "production"))
        return mConnection->lastError(QStringLiteral("The audio device cannot be used"));
    pulse().pa_stream_set_read_callback(
        mStream, [](pa_stream*, size_t, void* self) { static_cast<PulseInput*>(self)->read(); }, this);
    pulse().pa_stream_set_overflow_callback(
        mStream,
        [](pa_stream*, void* self) {
            static_cast<PulseInput*>(self)->mNumGaps.fetch_add(1, std::memory_order_relaxed);
        },
        this);
    const auto frameBytes = static_cast<uint32_t>(sizeof(float)) * mSpec.channels;
    constexpr auto serversChoice = static_cast<uint32_t>(-1);
    pa_buffer_attr buffer = {};
    buffer.maxlength = serversChoice;
    buffer.tlength = serversChoice;
    buffer.prebuf = serversChoice;
    buffer.minreq = serversChoice;
    buffer.fragsize = static_cast<uint32_t>(mSpec.rate * kFragmentSeconds) * frameBytes;
    const uint32_t flags =
        PA_STREAM_ADJUST_LATENCY | PA_STREAM_NO_REMAP_CHANNELS | PA_STREAM_NO_REMIX_CHANNELS;
    pulse().pa_stream_connect_record(mStream, mDevice.pulseName.constData(), &buffer,
                                     static_cast<pa_stream_flags_t>(flags));
    return waitUntilReady(lock);
}

void PulseInput::read()
{
    const size_t frameBytes = sizeof(float) * mSpec.channels;
    const auto now = std::chrono::steady_clock::now();
    const double seconds = std::chrono::duration<double>(now - mLastRead).count();
    mLastRead = now;
    mNumFramesAllowed = std::min(kMostFramesAtOnce, mNumFramesAllowed + seconds * kFastestPace * mSpec.rate);
    while (mNumFramesAllowed > 0 && mStream && pulse().pa_stream_readable_size(mStream) > 0) {
        const void* data = nullptr;
        size_t size = 0;
        if (pulse().pa_stream_peek(mStream, &data, &size) < 0 || size == 0)
            return;
        size_t numFrames = size / frameBytes;
        if (mNumFramesLeft)
            numFrames = std::min(numFrames, *mNumFramesLeft);
        if (data)
            deliver(static_cast<const float*>(data), numFrames);
        else
            mNumGaps.fetch_add(1, std::memory_order_relaxed);
        mNumFramesAllowed -= static_cast<double>(numFrames);
        pulse().pa_stream_drop(mStream);
        if (mNumFramesLeft && (*mNumFramesLeft -= numFrames) == 0)
            finish(StopReason::requested);
    }
    if (!mAlarm && mStream && pulse().pa_stream_readable_size(mStream) > 0)
        mAlarm = mConnection->callAfter(
            kPause,
            [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
                static_cast<PulseInput*>(self)->readOn();
            },
            static_cast<void*>(this));
}

void PulseInput::readOn()
{
    mConnection->cancel(std::exchange(mAlarm, nullptr));
    read();
}

void PulseInput::deliver(const float* frames, size_t numFrames)
{
    const auto numPicked = static_cast<size_t>(mNumChannels.load(std::memory_order_relaxed));
    const size_t channels[] = {static_cast<size_t>(mChannels[0].load(std::memory_order_relaxed)),
                               static_cast<size_t>(mChannels[1].load(std::memory_order_relaxed))};
    while (numFrames > 0) {
        const size_t count = std::min(numFrames, kMaxBlockFrames);
        for (size_t frame = 0; frame < count; ++frame)
            for (size_t i = 0; i < numPicked; ++i)
                mPicked[frame * numPicked + i] = frames[frame * mSpec.channels + channels[i]];
        mClient.capture(mPicked.data(), static_cast<uint32_t>(count));
        frames += count * mSpec.channels;
        numFrames -= count;
    }
}

void PulseInput::stop()
{
    const PulseConnection::Lock lock(*mConnection);
    if (!mStream || mNumFramesLeft)
        return;
    const size_t numBytes = pulse().pa_stream_readable_size(mStream);
    if (numBytes == 0 || numBytes == static_cast<size_t>(-1)) {
        finish(StopReason::requested);
        return;
    }
    // After a burst seconds of sound may still wait, which were heard before. What comes from now on is not
    // wanted; what waits is all here, so this ends even if the server hangs.
    mNumFramesLeft = numBytes / (sizeof(float) * mSpec.channels);
    read();
}

} // namespace velloria
