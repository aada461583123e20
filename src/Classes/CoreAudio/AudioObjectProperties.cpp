#include "Classes/CoreAudio/AudioObjectProperties.h"

#include "platform/hardware/HardwareCodes.h"

namespace velloria::AudioObjectProperties
{

namespace
{

using Answer = std::variant<QByteArray, int32_t>;

template <typename Number> QByteArray bytesOf(const Number& number)
{
    return {reinterpret_cast<const char*>(&number), sizeof number};
}

Answer readSystem(const HardwareState& state, FourCharCode selector)
{
    switch (selector) {
    case HardwareCode::kDevices:
    case HardwareCode::kOwnedObjects: {
        QByteArray ids;
        for (const HardwareDevice& device : state.devices)
            ids += bytesOf(device.id);
        return ids;
    }
    case HardwareCode::kDefaultInput:
        return bytesOf(state.defaultInput);
    case HardwareCode::kDefaultOutput:
        return bytesOf(state.defaultOutput);
    default:
        return kUnknownProperty;
    }
}

/// A stream has no object of its own; its number within the device stands for it.
QByteArray streamList(const HardwareSide& side)
{
    QByteArray ids;
    for (uint32_t i = 0; i < side.streamChannels.size(); ++i)
        ids += bytesOf(i + 1);
    return ids;
}

Answer readSide(const HardwareSide& side, FourCharCode selector, uint32_t element)
{
    switch (selector) {
    case HardwareCode::kStreams:
        return streamList(side);
    case HardwareCode::kStreamConfiguration: {
        QByteArray counts;
        for (const uint32_t count : side.streamChannels)
            counts += bytesOf(count);
        return counts;
    }
    case HardwareCode::kVolume: {
        const auto found = side.gains.find(element);
        if (found == side.gains.end())
            return kUnknownProperty;
        return bytesOf(found->second.value);
    }
    default:
        return kUnknownProperty;
    }
}

Answer readDevice(const HardwareDevice& device, FourCharCode selector, FourCharCode scope, uint32_t element)
{
    if (scope == HardwareCode::kInput)
        return readSide(device.input, selector, element);
    if (scope == HardwareCode::kOutput)
        return readSide(device.output, selector, element);
    switch (selector) {
    case HardwareCode::kName:
        return device.name.toUtf8();
    case HardwareCode::kUID:
        return device.uid.toUtf8();
    case HardwareCode::kNominalSampleRate:
        return bytesOf(device.sampleRate);
    case HardwareCode::kOwnedObjects:
        return streamList(device.input) + streamList(device.output);
    default:
        return kUnknownProperty;
    }
}

} // namespace

std::variant<QByteArray, int32_t> read(const HardwareState& state, uint32_t objectID, FourCharCode selector,
                                       FourCharCode scope, uint32_t element)
{
    if (objectID == HardwareChange::kSystemObject)
        return readSystem(state, selector);
    const HardwareDevice* const device = state.deviceWithID(objectID);
    return device ? readDevice(*device, selector, scope, element) : Answer(kBadObject);
}

} // namespace velloria::AudioObjectProperties
