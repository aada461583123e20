#pragma once

#include "platform/hardware/HardwareCodes.h"

#include <QByteArray>
#include <memory>
#include <optional>
#include <vector>

namespace velloria
{

/// One object of the audio system: the system itself (1) or a device, asked for its properties by
/// four-character codes. A plain value; two with the same ID stand for the same device, also after it went
/// away. Every question asks the present state; what is not there is logged and answered with nothing, 0 or
/// false. Main thread.
class VLAudioObject
{
public:
    static constexpr uint32_t kMasterElement = 0;

    explicit VLAudioObject(uint32_t audioObjectID)
        : mAudioObjectID(audioObjectID)
    {
    }

    static std::vector<VLAudioObject> availableDevices();
    /// Nothing for an empty or unknown UID.
    static std::optional<VLAudioObject> deviceForUID(const QString& uid);
    /// The ID is 0 when there is no device.
    static VLAudioObject defaultInputDevice();
    static VLAudioObject defaultOutputDevice();

    uint32_t audioObjectID() const { return mAudioObjectID; }

    /// Numbers are in the machine's byte order, IDs are 32 bits wide, texts UTF-8.
    std::optional<QByteArray> dataForProperty(FourCharCode selector, FourCharCode scope,
                                              uint32_t element = kMasterElement) const;
    int32_t intValueForProperty(FourCharCode selector, FourCharCode scope,
                                uint32_t element = kMasterElement) const;
    float float32ValueForProperty(FourCharCode selector, FourCharCode scope,
                                  uint32_t element = kMasterElement) const;
    double float64ValueForProperty(FourCharCode selector, FourCharCode scope,
                                   uint32_t element = kMasterElement) const;
    QString stringValueForProperty(FourCharCode selector, FourCharCode scope,
                                   uint32_t element = kMasterElement) const;

    QString name() const;
    QString UID() const;
    double nominalSampleRate() const;
    bool hasInputStreams() const;
    bool hasOutputStreams() const;
    std::vector<VLAudioObject> ownedObjects() const;
    /// Of all streams of the direction together; 2 where that cannot be told.
    uint32_t numberOfChannelsAvailableForScope(FourCharCode scope) const;

    bool isGainSettableForScope(FourCharCode scope, uint32_t channel) const;
    /// 0 to 1.
    float gainForScope(FourCharCode scope, uint32_t channel) const;
    void setGain(float gain, FourCharCode scope, uint32_t channel) const;
    /// Of the master where it can be set, else of channels 1 and 2 (their mean), else of channel 1; 0 where
    /// nothing can be set.
    float masterInputGain() const;
    void setMasterInputGain(float gain) const;

    bool operator==(const VLAudioObject&) const = default;

private:
    uint32_t mAudioObjectID;
};

/// While it lives, every change of one property of one object is posted on the main thread as a notification
/// without a sender.
class AudioPropertyNotification
{
public:
    AudioPropertyNotification(const QString& name, const VLAudioObject& object, FourCharCode selector,
                              FourCharCode scope = HardwareCode::kGlobal);
    ~AudioPropertyNotification();
    AudioPropertyNotification(const AudioPropertyNotification&) = delete;
    AudioPropertyNotification& operator=(const AudioPropertyNotification&) = delete;

private:
    int mToken;
};

} // namespace velloria
