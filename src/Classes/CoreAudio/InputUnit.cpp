#include "Classes/CoreAudio/InputUnit.h"

#include "Classes/CoreAudio/AudioPreferences.h"
#include "Classes/CoreAudio/VLAudioObject.h"
#include "platform/Log.h"
#include "platform/UserDefaults.h"

namespace velloria
{

namespace
{

void sayError(const char* call, const Error& error)
{
    printLine(QStringLiteral("Velloria: %1 error: %2").arg(QString::fromLatin1(call), error.message));
}

} // namespace

InputUnit::InputUnit(const Settings& settings, InputClient& client, StoppedHandler didStop)
    : mDevice(settings.device)
{
    mStream = AudioHardware::current().openInput({settings.device, settings.streamName, std::move(didStop)},
                                                 client, &mOpenError);
    setChannels(settings.leftChannel, settings.rightChannel);
}

void InputUnit::registerDefaults()
{
    UserDefaults& defaults = UserDefaults::standard();
    defaults.registerDefault(AudioPreference::inputDevice(), QString());
    defaults.registerDefault(AudioPreference::inputLeftChannel(), 0);
    defaults.registerDefault(AudioPreference::inputRightChannel(), 1);
}

InputUnit::Settings InputUnit::settingsFromPreferences(const QString& streamName)
{
    const UserDefaults& defaults = UserDefaults::standard();
    return {selectedInputDevice(), defaults.integerValue(AudioPreference::inputLeftChannel()),
            defaults.integerValue(AudioPreference::inputRightChannel()), streamName};
}

uint32_t InputUnit::selectedInputDevice()
{
    const QString uid = UserDefaults::standard().stringValue(AudioPreference::inputDevice());
    const std::optional<VLAudioObject> chosen = VLAudioObject::deviceForUID(uid);
    return chosen ? chosen->audioObjectID() : VLAudioObject::defaultInputDevice().audioObjectID();
}

void InputUnit::setChannels(int32_t left, int32_t right)
{
    if (!mStream)
        return;
    const auto numChannels = static_cast<int32_t>(mStream->numDeviceChannels());
    const auto isThere = [numChannels](int32_t channel) { return channel >= 0 && channel < numChannels; };
    // Always two, so that a change while it runs never changes the size of a frame.
    const int32_t map[] = {isThere(left) ? left : 0, isThere(right) ? right : numChannels < 2 ? 0 : 1};
    mNumChannels = map[0] == map[1] ? 1 : 2;
    mStream->setChannels(map);
}

MaybeError InputUnit::start()
{
    if (!mStream) {
        const Error error = mOpenError.value_or(
            Error{Error::Code::failed, QStringLiteral("There is no device to record from.")});
        sayError("AudioUnitSetProperty(kAudioOutputUnitProperty_CurrentDevice)", error);
        return error;
    }
    MaybeError error = mStream->start();
    if (error)
        sayError("AudioOutputUnitStart()", *error);
    return error;
}

void InputUnit::stop()
{
    if (mStream)
        mStream->stop();
}

} // namespace velloria
