#include "platform/hardware/SimulatedHardware.h"

#include "platform/hardware/SimulatedStreams.h"

#include <algorithm>

namespace velloria
{

namespace
{

/// Null, with `error` filled, when the device is not there or not of that direction.
const HardwareDevice* findDevice(const HardwareState& state, uint32_t id, AudioDirection direction,
                                 MaybeError* error)
{
    const HardwareDevice* const device = state.deviceWithID(id);
    if (device && device->side(direction).numChannels() > 0)
        return device;
    if (error)
        *error = Error{Error::Code::failed, QStringLiteral("The audio device is not there.")};
    return nullptr;
}

} // namespace

SimulatedHardware::SimulatedHardware()
{
    mState.devices = {outputDevice(2, QStringLiteral("out"), 44100.0),
                      inputDevice(3, QStringLiteral("in"), 44100.0)};
    mState.defaultOutput = 2;
    mState.defaultInput = 3;
}

HardwareDevice SimulatedHardware::outputDevice(uint32_t id, const QString& uid, double sampleRate,
                                               uint32_t numChannels)
{
    HardwareDevice device;
    device.id = id;
    device.uid = uid;
    device.name = QStringLiteral("Simulated ") + uid;
    device.sampleRate = sampleRate;
    device.output.streamChannels = {numChannels};
    return device;
}

HardwareDevice SimulatedHardware::inputDevice(uint32_t id, const QString& uid, double sampleRate,
                                              uint32_t numChannels)
{
    HardwareDevice device = outputDevice(id, uid, sampleRate, numChannels);
    std::swap(device.input, device.output);
    device.input.gains[0] = {1.0F, true};
    return device;
}

void SimulatedHardware::setState(const HardwareState& state)
{
    const HardwareState before = std::exchange(mState, state);
    const auto failWhereGone = [this](auto* stream) {
        if (!mState.deviceWithID(stream->deviceID()))
            stream->fail(StopReason::deviceLost);
    };
    std::for_each(mOutputs.begin(), mOutputs.end(), failWhereGone);
    std::for_each(mInputs.begin(), mInputs.end(), failWhereGone);
    tellDifferences(before, mState);
}

void SimulatedHardware::setOutputTiming(int64_t latencyFrames, int64_t mostFramesAsked)
{
    mLatencyFrames = latencyFrames;
    mMostFramesAsked = mostFramesAsked;
}

void SimulatedHardware::unplug(const QString& uid)
{
    HardwareState state = mState;
    std::erase_if(state.devices, [&uid](const HardwareDevice& device) { return device.uid == uid; });
    for (uint32_t* const id : {&state.defaultInput, &state.defaultOutput})
        if (!state.deviceWithID(*id))
            *id = 0;
    setState(state);
}

bool SimulatedHardware::setGain(uint32_t id, AudioDirection direction, uint32_t element, float gain)
{
    HardwareState state = mState;
    for (HardwareDevice& device : state.devices) {
        HardwareSide& side = direction == AudioDirection::input ? device.input : device.output;
        const auto found = side.gains.find(element);
        if (device.id != id || found == side.gains.end() || !found->second.isSettable)
            continue;
        found->second.value = gain;
        setState(state);
        return true;
    }
    return false;
}

std::unique_ptr<OutputStream> SimulatedHardware::openOutput(const StreamRequest& request,
                                                            OutputClient& client, MaybeError* error)
{
    const HardwareDevice* const device = findDevice(mState, request.device, AudioDirection::output, error);
    if (device && !mOpenError)
        return std::make_unique<SimulatedOutput>(*this, *device, request, client);
    if (device && error)
        *error = mOpenError;
    return nullptr;
}

std::unique_ptr<InputStream> SimulatedHardware::openInput(const StreamRequest& request, InputClient& client,
                                                          MaybeError* error)
{
    const HardwareDevice* const device = findDevice(mState, request.device, AudioDirection::input, error);
    if (device && !mOpenError)
        return std::make_unique<SimulatedInput>(*this, *device, request, client);
    if (device && error)
        *error = mOpenError;
    return nullptr;
}

} // namespace velloria
