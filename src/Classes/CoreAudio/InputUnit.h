#pragma once

#include "platform/hardware/AudioHardware.h"

namespace velloria
{

/// One input of a device as recorder, monitor and playthrough use it: opened at construction, with the
/// channels that were chosen as left and right. The client always gets stereo frames; where both sides are
/// the same channel the unit counts as mono. Main thread.
class InputUnit
{
public:
    struct Settings {
        uint32_t device = 0;
        int32_t leftChannel = 0;
        int32_t rightChannel = 1;
        QString streamName;
    };

    /// A failure shows in start().
    InputUnit(const Settings& settings, InputClient& client, StoppedHandler didStop);
    InputUnit(const InputUnit&) = delete;
    InputUnit& operator=(const InputUnit&) = delete;

    /// Registers the defaults of the preferences that are read here.
    static void registerDefaults();
    static Settings settingsFromPreferences(const QString& streamName);
    /// What the preferences name when it is there, else the default input; 0 when there is none.
    static uint32_t selectedInputDevice();

    MaybeError start();
    void stop();
    bool isRunning() const { return mStream && mStream->isRunning(); }

    /// Channels that the device does not have fall back to its first and second.
    void setChannels(int32_t left, int32_t right);
    /// 1 or 2.
    int32_t channels() const { return mNumChannels; }
    uint32_t device() const { return mDevice; }
    /// 0 when there is no device.
    double sampleRate() const { return mStream ? mStream->sampleRate() : 0.0; }
    /// How often the device lost frames, as far as it tells. Any thread.
    uint64_t numOverruns() const { return mStream ? mStream->numOverruns() : 0; }

private:
    const uint32_t mDevice;
    int32_t mNumChannels = 2;
    MaybeError mOpenError;
    std::unique_ptr<InputStream> mStream;
};

} // namespace velloria
