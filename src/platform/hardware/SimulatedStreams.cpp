#include "platform/hardware/SimulatedStreams.h"

#include <algorithm>

namespace velloria
{

SimulatedOutput::SimulatedOutput(SimulatedHardware& hardware, const HardwareDevice& device,
                                 const AudioHardware::StreamRequest& request, OutputClient& client)
    : mHardware(hardware)
    , mDevice(device)
    , mClient(client)
    , mMostFramesAsked(hardware.mMostFramesAsked)
    , mNotice(request.didStop)
{
    mHardware.mOutputs.push_back(this);
}

SimulatedOutput::~SimulatedOutput()
{
    std::erase(mHardware.mOutputs, this);
    const std::lock_guard lock(mMutex);
    mIsRunning = false;
}

std::vector<float> SimulatedOutput::pull(uint32_t numFrames)
{
    std::vector<float> frames = ask(numFrames);
    letTimePass(numFrames);
    return frames;
}

std::vector<float> SimulatedOutput::ask(uint32_t numFrames)
{
    const std::lock_guard lock(mMutex);
    if (!mIsRunning)
        return {};
    mMostFramesAsked = std::max(mMostFramesAsked.load(), int64_t{numFrames});
    std::vector<float> frames(static_cast<size_t>(numFrames) * numChannels());
    mMap.render(mClient, frames.data(), numChannels(), numFrames);
    const int64_t start = std::max(mEnd, mNumFramesPassed.load()) + mHardware.mLatencyFrames;
    mEnd = start - mHardware.mLatencyFrames + numFrames;
    mClient.didRender(secondsOf(start), secondsOf(start + numFrames));
    return frames;
}

void SimulatedOutput::fail(StopReason reason)
{
    const std::lock_guard lock(mMutex);
    if (std::exchange(mIsRunning, false))
        mNotice.post(reason);
}

MaybeError SimulatedOutput::start()
{
    if (mHardware.startError())
        return mHardware.startError();
    const std::lock_guard lock(mMutex);
    mIsRunning = true;
    return std::nullopt;
}

void SimulatedOutput::stop(StopMode)
{
    fail(StopReason::requested);
}

bool SimulatedOutput::isRunning() const
{
    const std::lock_guard lock(mMutex);
    return mIsRunning;
}

SimulatedInput::SimulatedInput(SimulatedHardware& hardware, const HardwareDevice& device,
                               const AudioHardware::StreamRequest& request, InputClient& client)
    : mHardware(hardware)
    , mDevice(device)
    , mClient(client)
    , mNotice(request.didStop)
{
    mHardware.mInputs.push_back(this);
}

SimulatedInput::~SimulatedInput()
{
    std::erase(mHardware.mInputs, this);
    const std::lock_guard lock(mMutex);
    mIsRunning = false;
}

void SimulatedInput::push(std::span<const float> frames)
{
    const std::lock_guard lock(mMutex);
    if (!mIsRunning)
        return;
    const size_t numDevice = numDeviceChannels();
    const size_t numFrames = frames.size() / numDevice;
    std::vector<float> picked;
    picked.reserve(numFrames * mChannels.size());
    for (size_t frame = 0; frame < numFrames; ++frame)
        for (const int32_t channel : mChannels)
            picked.push_back(frames[frame * numDevice + static_cast<size_t>(channel)]);
    mClient.capture(picked.data(), static_cast<uint32_t>(numFrames));
}

void SimulatedInput::fail(StopReason reason)
{
    const std::lock_guard lock(mMutex);
    if (std::exchange(mIsRunning, false))
        mNotice.post(reason);
}

void SimulatedInput::setChannels(std::span<const int32_t> channels)
{
    const std::lock_guard lock(mMutex);
    mChannels.assign(channels.begin(), channels.end());
}

MaybeError SimulatedInput::start()
{
    if (mHardware.startError())
        return mHardware.startError();
    const std::lock_guard lock(mMutex);
    mIsRunning = true;
    return std::nullopt;
}

void SimulatedInput::stop()
{
    if (!mHardware.inputsNeverStop())
        fail(StopReason::requested);
}

bool SimulatedInput::isRunning() const
{
    const std::lock_guard lock(mMutex);
    return mIsRunning;
}

} // namespace velloria
