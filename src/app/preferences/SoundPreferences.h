#pragma once

#include "Classes/CoreAudio/VLAudioObject.h"
#include "platform/NotificationCenter.h"

#include <QWidget>

class QComboBox;
class QLabel;

namespace velloria
{

/// The page of the preferences about devices: on which one and on which of its channels sound is played. The
/// list follows what is plugged in and out while it is shown. Main thread.
class SoundPreferences : public QWidget
{
    Q_OBJECT

public:
    explicit SoundPreferences(QWidget* parent = nullptr);
    ~SoundPreferences() override;

    QComboBox& devices() { return *mDevices; }
    QComboBox& leftChannel() { return *mLeft; }
    QComboBox& rightChannel() { return *mRight; }

private:
    void fill();
    void fillDevices();
    void fillChannels(QComboBox& popUp, const QString& key, uint32_t numChannels);
    void chooseDevice(int index);
    void chooseChannel(const QComboBox& popUp, const QString& key);

    QComboBox* mDevices;
    QComboBox* mLeft;
    QComboBox* mRight;
    QLabel* mNote;
    AudioPropertyNotification mListNotification;
    AudioPropertyNotification mDefaultNotification;
    NotificationCenter::Token mToken;
};

} // namespace velloria
