#pragma once

#include <QString>

namespace velloria
{

/// Settings of the audio engine.
namespace AudioPreference
{
inline QString outputDevice()
{
    return QStringLiteral("audio.output.device");
}
inline QString outputLeftChannel()
{
    return QStringLiteral("audio.output.leftChannel");
}
inline QString outputRightChannel()
{
    return QStringLiteral("audio.output.rightChannel");
}
/// In dB.
inline QString playbackVolume()
{
    return QStringLiteral("playbackVolume");
}
} // namespace AudioPreference

/// What the engine announces and listens to.
namespace AudioNotification
{
inline QString outputDeviceDidChange()
{
    return QStringLiteral("audioOutputDeviceDidChange");
}
inline QString outputConfigurationDidChange()
{
    return QStringLiteral("audioOutputDeviceConfigurationDidChange");
}
inline QString playbackVolumeDidChange()
{
    return QStringLiteral("playbackVolumeDidChange");
}
} // namespace AudioNotification

} // namespace velloria
