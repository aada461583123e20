#pragma once

#include "Classes/CoreAudio/VLAudioObject.h"
#include "platform/NotificationCenter.h"

#include <functional>

namespace velloria
{

/// While it lives it tells that sound should perhaps go to another output: the preference changed, the
/// default output did, or a device came or went. Exists while something plays only. Main thread.
class OutputDeviceWatch
{
public:
    explicit OutputDeviceWatch(std::function<void()> deviceDidChange);
    ~OutputDeviceWatch();
    OutputDeviceWatch(const OutputDeviceWatch&) = delete;
    OutputDeviceWatch& operator=(const OutputDeviceWatch&) = delete;

private:
    AudioPropertyNotification mDefaultOutput;
    AudioPropertyNotification mDevices;
    NotificationCenter::Token mToken;
};

} // namespace velloria
