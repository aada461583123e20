#pragma once

#include "platform/hardware/ChannelMap.h"
#include "platform/hardware/SimulatedHardware.h"
#include "platform/hardware/StopNotice.h"

#include <mutex>

namespace velloria
{

/// An output that asks for frames when pull() or ask() is called, on whatever thread that is. Its clock moves
/// by pull() and letTimePass() alone.
class SimulatedOutput : public OutputStream
{
public:
    SimulatedOutput(SimulatedHardware& hardware, const HardwareDevice& device,
                    const AudioHardware::StreamRequest& request, OutputClient& client);
    ~SimulatedOutput() override;

    /// The device asks for so many frames at once, and its clock moves on by as many: what it gets,
    /// interleaved. Nothing when it does not run.
    std::vector<float> pull(uint32_t numFrames);
    /// The same in two steps.
    std::vector<float> ask(uint32_t numFrames);
    void letTimePass(int64_t numFrames) { mNumFramesPassed += numFrames; }
    /// The device goes away or the like.
    void fail(StopReason reason);
    uint32_t deviceID() const { return mDevice.id; }

    double sampleRate() const override { return mDevice.sampleRate; }
    uint32_t numChannels() const override { return mDevice.output.numChannels(); }
    void setChannelMap(std::span<const int32_t> map) override { mMap.set(map); }
    MaybeError start() override;
    void stop(StopMode mode) override;
    bool isRunning() const override;
    int64_t mostFramesAsked() const override { return mMostFramesAsked; }
    double now() const override { return secondsOf(mNumFramesPassed); }

private:
    double secondsOf(int64_t numFrames) const { return static_cast<double>(numFrames) / mDevice.sampleRate; }

    SimulatedHardware& mHardware;
    HardwareDevice mDevice;
    OutputClient& mClient;
    std::atomic<int64_t> mMostFramesAsked;
    std::atomic<int64_t> mNumFramesPassed{0};
    int64_t mEnd = 0; ///< of what it was given, on its clock, were there no latency
    StopNotice mNotice;
    ChannelMap mMap;
    mutable std::mutex mMutex;
    bool mIsRunning = false;
};

/// An input that hands over frames when push() is called.
class SimulatedInput : public InputStream
{
public:
    SimulatedInput(SimulatedHardware& hardware, const HardwareDevice& device,
                   const AudioHardware::StreamRequest& request, InputClient& client);
    ~SimulatedInput() override;

    /// The device hears these frames, interleaved in all of its channels.
    void push(std::span<const float> frames);
    void fail(StopReason reason);
    uint32_t deviceID() const { return mDevice.id; }

    double sampleRate() const override { return mDevice.sampleRate; }
    uint32_t numDeviceChannels() const override { return mDevice.input.numChannels(); }
    void setChannels(std::span<const int32_t> channels) override;
    MaybeError start() override;
    void stop() override;
    bool isRunning() const override;

private:
    SimulatedHardware& mHardware;
    HardwareDevice mDevice;
    InputClient& mClient;
    StopNotice mNotice;
    std::vector<int32_t> mChannels = {0, 1};
    mutable std::mutex mMutex;
    bool mIsRunning = false;
};

} // namespace velloria
