#include "Classes/CoreAudio/VLAudioObject.h"

#include "Classes/CoreAudio/AudioObjectProperties.h"
#include "platform/Log.h"
#include "platform/NotificationCenter.h"

#include <cstring>

namespace velloria
{

namespace
{

const VLAudioObject kSystem(HardwareChange::kSystemObject);

/// The bytes as a list of 32-bit numbers.
std::vector<uint32_t> numbersIn(const std::optional<QByteArray>& data)
{
    std::vector<uint32_t> numbers(data ? static_cast<size_t>(data->size()) / sizeof(uint32_t) : 0);
    if (!numbers.empty())
        std::memcpy(numbers.data(), data->constData(), numbers.size() * sizeof(uint32_t));
    return numbers;
}

template <typename Number> Number numberIn(const std::optional<QByteArray>& data)
{
    Number number = 0;
    if (data && static_cast<size_t>(data->size()) >= sizeof number)
        std::memcpy(&number, data->constData(), sizeof number);
    return number;
}

std::vector<VLAudioObject> objectsIn(const std::optional<QByteArray>& data)
{
    std::vector<VLAudioObject> objects;
    for (const uint32_t id : numbersIn(data))
        objects.emplace_back(id);
    return objects;
}

VLAudioObject defaultDevice(FourCharCode selector)
{
    return VLAudioObject(numberIn<uint32_t>(kSystem.dataForProperty(selector, HardwareCode::kGlobal)));
}

/// Null when the object is no device, or has no such volume.
const HardwareSide::Gain* findGain(const HardwareState& state, uint32_t id, FourCharCode scope,
                                   uint32_t channel)
{
    const HardwareDevice* const device = state.deviceWithID(id);
    if (!device)
        return nullptr;
    const HardwareSide& side = scope == HardwareCode::kInput ? device->input : device->output;
    const auto found = side.gains.find(channel);
    return found == side.gains.end() ? nullptr : &found->second;
}

} // namespace

std::vector<VLAudioObject> VLAudioObject::availableDevices()
{
    return objectsIn(kSystem.dataForProperty(HardwareCode::kDevices, HardwareCode::kGlobal));
}

std::optional<VLAudioObject> VLAudioObject::deviceForUID(const QString& uid)
{
    if (uid.isEmpty())
        return std::nullopt;
    const HardwareState state = AudioHardware::current().state();
    const HardwareDevice* const device = state.deviceWithUID(uid);
    return device ? std::optional(VLAudioObject(device->id)) : std::nullopt;
}

VLAudioObject VLAudioObject::defaultInputDevice()
{
    return defaultDevice(HardwareCode::kDefaultInput);
}

VLAudioObject VLAudioObject::defaultOutputDevice()
{
    return defaultDevice(HardwareCode::kDefaultOutput);
}

std::optional<QByteArray> VLAudioObject::dataForProperty(FourCharCode selector, FourCharCode scope,
                                                         uint32_t element) const
{
    const auto answer = AudioObjectProperties::read(AudioHardware::current().state(), mAudioObjectID,
                                                    selector, scope, element);
    if (const auto* const data = std::get_if<QByteArray>(&answer))
        return *data;
    logLine(QStringLiteral("AudioObjectGetPropertyDataSize() error %1").arg(std::get<int32_t>(answer)));
    return std::nullopt;
}

int32_t VLAudioObject::intValueForProperty(FourCharCode selector, FourCharCode scope, uint32_t element) const
{
    return numberIn<int32_t>(dataForProperty(selector, scope, element));
}

float VLAudioObject::float32ValueForProperty(FourCharCode selector, FourCharCode scope,
                                             uint32_t element) const
{
    return numberIn<float>(dataForProperty(selector, scope, element));
}

double VLAudioObject::float64ValueForProperty(FourCharCode selector, FourCharCode scope,
                                              uint32_t element) const
{
    return numberIn<double>(dataForProperty(selector, scope, element));
}

QString VLAudioObject::stringValueForProperty(FourCharCode selector, FourCharCode scope,
                                              uint32_t element) const
{
    const std::optional<QByteArray> data = dataForProperty(selector, scope, element);
    return data ? QString::fromUtf8(*data) : QString();
}

QString VLAudioObject::name() const
{
    return stringValueForProperty(HardwareCode::kName, HardwareCode::kGlobal);
}

QString VLAudioObject::UID() const
{
    return stringValueForProperty(HardwareCode::kUID, HardwareCode::kGlobal);
}

double VLAudioObject::nominalSampleRate() const
{
    return float64ValueForProperty(HardwareCode::kNominalSampleRate, HardwareCode::kGlobal);
}

bool VLAudioObject::hasInputStreams() const
{
    return !numbersIn(dataForProperty(HardwareCode::kStreams, HardwareCode::kInput)).empty();
}

bool VLAudioObject::hasOutputStreams() const
{
    return !numbersIn(dataForProperty(HardwareCode::kStreams, HardwareCode::kOutput)).empty();
}

std::vector<VLAudioObject> VLAudioObject::ownedObjects() const
{
    return objectsIn(dataForProperty(HardwareCode::kOwnedObjects, HardwareCode::kGlobal));
}

uint32_t VLAudioObject::numberOfChannelsAvailableForScope(FourCharCode scope) const
{
    uint32_t sum = 0;
    for (const uint32_t count : numbersIn(dataForProperty(HardwareCode::kStreamConfiguration, scope)))
        sum += count;
    return sum > 0 ? sum : 2;
}

bool VLAudioObject::isGainSettableForScope(FourCharCode scope, uint32_t channel) const
{
    const HardwareState state = AudioHardware::current().state();
    const HardwareSide::Gain* const gain = findGain(state, mAudioObjectID, scope, channel);
    return gain && gain->isSettable;
}

float VLAudioObject::gainForScope(FourCharCode scope, uint32_t channel) const
{
    return float32ValueForProperty(HardwareCode::kVolume, scope, channel);
}

void VLAudioObject::setGain(float gain, FourCharCode scope, uint32_t channel) const
{
    const AudioDirection direction =
        scope == HardwareCode::kInput ? AudioDirection::input : AudioDirection::output;
    if (!AudioHardware::current().setGain(mAudioObjectID, direction, channel, gain))
        logLine(QStringLiteral("AudioObjectSetPropertyData() error %1")
                    .arg(AudioObjectProperties::kUnknownProperty));
}

float VLAudioObject::masterInputGain() const
{
    constexpr FourCharCode scope = HardwareCode::kInput;
    if (isGainSettableForScope(scope, kMasterElement))
        return gainForScope(scope, kMasterElement);
    if (isGainSettableForScope(scope, 2))
        return (gainForScope(scope, 1) + gainForScope(scope, 2)) / 2.0F;
    return isGainSettableForScope(scope, 1) ? gainForScope(scope, 1) : 0.0F;
}

void VLAudioObject::setMasterInputGain(float gain) const
{
    constexpr FourCharCode scope = HardwareCode::kInput;
    if (isGainSettableForScope(scope, kMasterElement)) {
        setGain(gain, scope, kMasterElement);
    } else if (isGainSettableForScope(scope, 2)) {
        setGain(gain, scope, 1);
        setGain(gain, scope, 2);
    } else if (isGainSettableForScope(scope, 1)) {
        setGain(gain, scope, 1);
    }
}

AudioPropertyNotification::AudioPropertyNotification(const QString& name, const VLAudioObject& object,
                                                     FourCharCode selector, FourCharCode scope)
    : mToken(AudioHardware::current().addObserver(
          [name,
           wanted = HardwareChange{object.audioObjectID(), selector, scope}](const HardwareChange& change) {
              if (change == wanted)
                  NotificationCenter::standard().post(name);
          }))
{
}

AudioPropertyNotification::~AudioPropertyNotification()
{
    AudioHardware::current().removeObserver(mToken);
}

} // namespace velloria
