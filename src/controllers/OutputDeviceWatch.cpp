#include "controllers/OutputDeviceWatch.h"

#include "Classes/CoreAudio/AudioPreferences.h"
#include "platform/hardware/AudioHardware.h"

namespace velloria
{

namespace
{

const VLAudioObject kSystem(HardwareChange::kSystemObject);

} // namespace

OutputDeviceWatch::OutputDeviceWatch(std::function<void()> deviceDidChange)
    : mDefaultOutput(AudioNotification::outputDeviceDidChange(), kSystem, HardwareCode::kDefaultOutput)
    , mDevices(AudioNotification::outputDeviceDidChange(), kSystem, HardwareCode::kDevices)
    , mToken(NotificationCenter::standard().addObserver(
          AudioNotification::outputDeviceDidChange(),
          [didChange = std::move(deviceDidChange)](const void*) { didChange(); }))
{
}

OutputDeviceWatch::~OutputDeviceWatch()
{
    NotificationCenter::standard().removeObserver(mToken);
}

} // namespace velloria
