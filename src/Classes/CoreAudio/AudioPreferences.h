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
inline QString inputDevice()
{
    return QStringLiteral("audio.input.device");
}
inline QString inputLeftChannel()
{
    return QStringLiteral("audio.input.leftChannel");
}
inline QString inputRightChannel()
{
    return QStringLiteral("audio.input.rightChannel");
}
/// 1 while the input meters run.
inline QString inputMetersActive()
{
    return QStringLiteral("audio.inputLevels.metersActive");
}
/// Whether the input is heard at the output.
inline QString playthrough()
{
    return QStringLiteral("audioPlaythrough");
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
inline QString inputDeviceDidChange()
{
    return QStringLiteral("audioInputDeviceDidChange");
}
inline QString inputConfigurationDidChange()
{
    return QStringLiteral("audioInputDeviceConfigurationDidChange");
}
/// Other channels of the input device were chosen.
inline QString inputChannelsDidChange()
{
    return QStringLiteral("audioInputChannelsDidChange");
}
/// The sender is the InputLevels.
inline QString inputLevelsDidChange()
{
    return QStringLiteral("inputLevelsDidChange");
}
inline QString inputGainDidChange()
{
    return QStringLiteral("inputGainDidChange");
}
inline QString metersActiveDidChange()
{
    return QStringLiteral("audioMetersActiveDidChange");
}
} // namespace AudioNotification

} // namespace velloria
