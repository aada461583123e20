#pragma once

#include "platform/hardware/AudioHardware.h"

/// The four-character codes under which properties of the system and of devices are asked for.
namespace velloria::HardwareCode
{

constexpr FourCharCode kDevices = fourCharCode("dev#");
constexpr FourCharCode kDeviceForUID = fourCharCode("duid");
constexpr FourCharCode kDefaultInput = fourCharCode("dIn ");
constexpr FourCharCode kDefaultOutput = fourCharCode("dOut");
constexpr FourCharCode kName = fourCharCode("lnam");
constexpr FourCharCode kUID = fourCharCode("uid ");
constexpr FourCharCode kNominalSampleRate = fourCharCode("nsrt");
constexpr FourCharCode kStreams = fourCharCode("stm#");
constexpr FourCharCode kOwnedObjects = fourCharCode("ownd");
constexpr FourCharCode kVolume = fourCharCode("volm");
constexpr FourCharCode kStreamConfiguration = fourCharCode("slay");

constexpr FourCharCode kGlobal = fourCharCode("glob");
constexpr FourCharCode kInput = fourCharCode("inpt");
constexpr FourCharCode kOutput = fourCharCode("outp");

constexpr FourCharCode scopeOf(AudioDirection direction)
{
    return direction == AudioDirection::input ? kInput : kOutput;
}

} // namespace velloria::HardwareCode
