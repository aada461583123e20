#include "app/preferences/SoundPreferences.h"

#include "Classes/CoreAudio/AudioPreferences.h"
#include "Classes/CoreAudio/VLRTAudioPlayer.h"
#include "platform/UserDefaults.h"
#include "platform/hardware/AudioHardware.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QFormLayout>
#include <QLabel>

namespace velloria
{

namespace
{

constexpr int kDeviceWidth = 280;

const VLAudioObject kSystem(HardwareChange::kSystemObject);

QString listDidChange()
{
    return QStringLiteral("soundPreferencesDevicesDidChange");
}

} // namespace

SoundPreferences::SoundPreferences(QWidget* parent)
    : QWidget(parent)
    , mDevices(new QComboBox(this))
    , mLeft(new QComboBox(this))
    , mRight(new QComboBox(this))
    , mNote(new QLabel(this))
    , mListNotification(listDidChange(), kSystem, HardwareCode::kDevices)
    , mDefaultNotification(listDidChange(), kSystem, HardwareCode::kDefaultOutput)
    , mToken(NotificationCenter::standard().addObserver(listDidChange(), [this](const void*) { fill(); }))
{
    auto* const form = new QFormLayout(this);
    form->setContentsMargins(22, 18, 22, 18);
    form->setLabelAlignment(Qt::AlignRight);
    form->setHorizontalSpacing(14);
    form->setVerticalSpacing(9);
    mDevices->setMinimumWidth(kDeviceWidth);
    //% "Output device:"
    form->addRow(qtTrId("preferences-output-device"), mDevices);
    //% "Left channel:"
    form->addRow(qtTrId("preferences-left-channel"), mLeft);
    //% "Right channel:"
    form->addRow(qtTrId("preferences-right-channel"), mRight);
    mNote->setWordWrap(true);
    mNote->setForegroundRole(QPalette::PlaceholderText);
    form->addRow(mNote);
    connect(mDevices, &QComboBox::activated, this, &SoundPreferences::chooseDevice);
    connect(mLeft, &QComboBox::activated, this,
            [this] { chooseChannel(*mLeft, AudioPreference::outputLeftChannel()); });
    connect(mRight, &QComboBox::activated, this,
            [this] { chooseChannel(*mRight, AudioPreference::outputRightChannel()); });
    fill();
}

SoundPreferences::~SoundPreferences()
{
    NotificationCenter::standard().removeObserver(mToken);
}

void SoundPreferences::fill()
{
    fillDevices();
    const uint32_t selected = VLRTAudioPlayer::selectedOutputDevice();
    const uint32_t numChannels =
        selected == 0 ? 2 : VLAudioObject(selected).numberOfChannelsAvailableForScope(HardwareCode::kOutput);
    fillChannels(*mLeft, AudioPreference::outputLeftChannel(), numChannels);
    fillChannels(*mRight, AudioPreference::outputRightChannel(), numChannels);
    const MaybeError error = AudioHardware::current().unavailable();
    mNote->setText(error ? error->message : QString());
    mNote->setVisible(error.has_value());
}

void SoundPreferences::fillDevices()
{
    const QString chosen = UserDefaults::standard().stringValue(AudioPreference::outputDevice());
    const VLAudioObject standard = VLAudioObject::defaultOutputDevice();
    mDevices->clear();
    if (standard.audioObjectID() == 0)
        //% "As the desktop"
        mDevices->addItem(qtTrId("preferences-default-device"), QString());
    else
        //: %1 is the name of a device
        //% "As the desktop (%1)"
        mDevices->addItem(qtTrId("preferences-default-device-name").arg(standard.name()), QString());
    for (const VLAudioObject& device : VLAudioObject::availableDevices()) {
        if (device.hasOutputStreams())
            mDevices->addItem(device.name(), device.UID());
    }
    if (!chosen.isEmpty() && mDevices->findData(chosen) < 0)
        //: %1 is the identifier of a device that was chosen before
        //% "%1 (not connected)"
        mDevices->addItem(qtTrId("preferences-missing-device").arg(chosen), chosen);
    mDevices->setCurrentIndex(std::max(0, mDevices->findData(chosen)));
}

void SoundPreferences::fillChannels(QComboBox& popUp, const QString& key, uint32_t numChannels)
{
    const int chosen = UserDefaults::standard().integerValue(key);
    popUp.clear();
    for (uint32_t channel = 0; channel < numChannels; ++channel)
        //: %1 is a number, from 1
        //% "Channel %1"
        popUp.addItem(qtTrId("preferences-channel").arg(channel + 1), channel);
    // One that the device does not have plays on the first two.
    const int fallback = key == AudioPreference::outputLeftChannel() ? 0 : 1;
    const bool isThere = chosen >= 0 && chosen < static_cast<int>(numChannels);
    popUp.setCurrentIndex(isThere ? chosen : std::min(fallback, popUp.count() - 1));
}

void SoundPreferences::chooseDevice(int index)
{
    UserDefaults::standard().setValue(AudioPreference::outputDevice(), mDevices->itemData(index));
    NotificationCenter::standard().post(AudioNotification::outputDeviceDidChange());
    fill();
}

void SoundPreferences::chooseChannel(const QComboBox& popUp, const QString& key)
{
    UserDefaults::standard().setValue(key, popUp.currentData().toInt());
    NotificationCenter::standard().post(AudioNotification::outputConfigurationDidChange());
}

} // namespace velloria
