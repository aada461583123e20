#pragma once

#include "platform/hardware/ChannelMap.h"
#include "platform/hardware/PulseDevices.h"
#include "platform/hardware/StopNotice.h"

#include <chrono>
#include <optional>

namespace velloria
{

class PulseStream;

/// The streams that there are, for who knows which devices there are. Main thread.
using PulseStreamList = std::vector<PulseStream*>;

/// One stream of the server: what playing and recording have in common. The calls from libpulse's thread come
/// under the connection's lock, so that taking the lock and disconnecting ends them.
class PulseStream
{
public:
    uint32_t deviceID() const { return mDeviceID; }
    /// The device was unplugged. The server would let the stream go on at another one.
    void deviceWasLost();

protected:
    PulseStream(std::shared_ptr<PulseConnection> connection, std::shared_ptr<PulseStreamList> list,
                const PulseDevice& device, const AudioHardware::StreamRequest& request);
    ~PulseStream();
    PulseStream(const PulseStream&) = delete;
    PulseStream& operator=(const PulseStream&) = delete;

    const PulseLibrary& pulse() const { return mConnection->pulse(); }

    /// Makes a stream; under the lock. Null when the server is gone or does not answer.
    pa_stream* make(const pa_sample_spec& spec, const pa_channel_map& map, const char* role);
    /// Waits until the server has accepted it.
    MaybeError waitUntilReady(const PulseConnection::Lock& lock);
    /// Lets go of the stream and posts why, if there is one; under the lock or on libpulse's thread.
    void finish(StopReason reason);
    void stateDidChange();

    std::shared_ptr<PulseConnection> mConnection;
    const std::shared_ptr<PulseStreamList> mList;
    const uint32_t mDeviceID;
    const PulseDevice mDevice;
    const QByteArray mName;
    StopNotice mNotice;
    pa_stream* mStream = nullptr;
    pa_time_event* mAlarm = nullptr;
    bool mIsStarting = false;
    std::atomic<bool> mIsRunning{false};
    std::atomic<uint64_t> mNumGaps{0};
};

/// Plays to a sink, in the sink's own rate and channels, so that the server passes samples unchanged.
class PulseOutput : public OutputStream, public PulseStream
{
public:
    PulseOutput(std::shared_ptr<PulseConnection> connection, std::shared_ptr<PulseStreamList> list,
                const PulseDevice& device, const AudioHardware::StreamRequest& request, OutputClient& client);
    ~PulseOutput() override = default;

    double sampleRate() const override { return mSpec.rate; }
    uint32_t numChannels() const override { return mSpec.channels; }
    void setChannelMap(std::span<const int32_t> map) override { mMap.set(map); }
    MaybeError start() override;
    void stop(StopMode mode) override;
    bool isRunning() const override { return mIsRunning; }
    uint64_t numUnderruns() const override { return mNumGaps; }
    int64_t mostFramesAsked() const override { return mMostFramesAsked; }
    double now() const override;

private:
    void write(size_t numBytes);
    size_t renderNext(size_t numBytes);
    double secondsToEar() const;
    void drain();

    pa_sample_spec mSpec;
    pa_channel_map mServerMap;
    OutputClient& mClient;
    const double mLatencySeconds;
    ChannelMap mMap;
    size_t mNumFramesWritten = 0; ///< since the start
    std::atomic<int64_t> mMostFramesAsked{0};
};

/// Records from a source, in the source's own rate and channels.
class PulseInput : public InputStream, public PulseStream
{
public:
    PulseInput(std::shared_ptr<PulseConnection> connection, std::shared_ptr<PulseStreamList> list,
               const PulseDevice& device, const AudioHardware::StreamRequest& request, InputClient& client);
    ~PulseInput() override = default;

    double sampleRate() const override { return mSpec.rate; }
    uint32_t numDeviceChannels() const override { return mSpec.channels; }
    void setChannels(std::span<const int32_t> channels) override;
    MaybeError start() override;
    void stop() override;
    bool isRunning() const override { return mIsRunning; }
    uint64_t numOverruns() const override { return mNumGaps; }

private:
    static constexpr size_t kMaxBlockFrames = 4096;

    void read();
    void readOn();
    void deliver(const float* frames, size_t numFrames);

    pa_sample_spec mSpec;
    InputClient& mClient;
    std::array<std::atomic<int32_t>, 2> mChannels{0, 1};
    std::atomic<int32_t> mNumChannels{2};
    std::array<float, 2 * kMaxBlockFrames> mPicked{};
    std::chrono::steady_clock::time_point mLastRead{};
    double mNumFramesAllowed = 0; ///< to be handed on by now
    std::optional<size_t>
        mNumFramesLeft; ///< to be handed on before it stands still, once it was told to stop
};

} // namespace velloria
