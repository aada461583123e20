#include "app/preferences/SoundPreferences.h"
#include "Classes/CoreAudio/AudioPreferences.h"
#include "Classes/CoreAudio/VLRTAudioPlayer.h"
#include "app/kit/AppTestKit.h"
#include "app/preferences/PreferencesDialog.h"
#include "document/SoundDocument.h"
#include "platform/hardware/SimulatedHardware.h"

#include <QCheckBox>
#include <QComboBox>
#include <QTabWidget>

namespace velloria::test
{

class SoundPreferencesTest : public testing::Test
{
protected:
    SoundPreferencesTest()
    {
        HardwareState state = hardware->state();
        state.devices.push_back(SimulatedHardware::outputDevice(7, QStringLiteral("six"), 48000.0, 6));
        hardware->setState(state);
        AudioHardware::setCurrent(hardware);
    }
    ~SoundPreferencesTest() override
    {
        AudioHardware::setCurrent(nullptr);
        for (const QString& key : {AudioPreference::outputDevice(), AudioPreference::outputLeftChannel(),
                                   AudioPreference::outputRightChannel()})
            UserDefaults::standard().removeValue(key);
    }
    static void choose(QComboBox& popUp, int index)
    {
        popUp.setCurrentIndex(index);
        Q_EMIT popUp.activated(index);
    }
    static QStringList textsOf(const QComboBox& popUp)
    {
        QStringList texts;
        for (int i = 0; i < popUp.count(); ++i)
            texts << popUp.itemText(i);
        return texts;
    }

    std::shared_ptr<SimulatedHardware> hardware = std::make_shared<SimulatedHardware>();
};

TEST_F(SoundPreferencesTest, PacketsAreCopiedUnlessTheBoxSaysOtherwise)
{
    PreferencesDialog dialog(nullptr);
    dialog.show();
    keepPicture(dialog, QStringLiteral("preferences-general"));
    const QList<QCheckBox*> boxes = dialog.findChildren<QCheckBox*>();
    const auto box = std::ranges::find(boxes, QStringLiteral("Copy what was not edited"), &QCheckBox::text);
    ASSERT_NE(box, boxes.end());
    EXPECT_TRUE((*box)->isChecked());
    (*box)->click();
    EXPECT_FALSE(UserDefaults::standard().boolValue(copyPacketsKey));
    UserDefaults::standard().removeValue(copyPacketsKey);
}

TEST_F(SoundPreferencesTest, OffersTheOutputsAndTheirChannels)
{
    PreferencesDialog dialog(nullptr);
    dialog.findChild<QTabWidget*>()->setCurrentIndex(1);
    dialog.show();
    auto& page = *dialog.findChild<SoundPreferences*>();
    EXPECT_EQ(textsOf(page.devices()),
              QStringList({QStringLiteral("As the desktop (Simulated out)"), QStringLiteral("Simulated out"),
                           QStringLiteral("Simulated six")}));
    EXPECT_EQ(page.leftChannel().count(), 2);
    keepPicture(dialog, QStringLiteral("preferences-sound"));

    int numTold = 0;
    const auto token = NotificationCenter::standard().addObserver(AudioNotification::outputDeviceDidChange(),
                                                                  [&](const void*) { ++numTold; });
    choose(page.devices(), 2);
    EXPECT_EQ(numTold, 1);
    EXPECT_EQ(VLRTAudioPlayer::selectedOutputDevice(), 7U);
    EXPECT_EQ(page.leftChannel().count(), 6);
    choose(page.leftChannel(), 4);
    EXPECT_EQ(UserDefaults::standard().integerValue(AudioPreference::outputLeftChannel()), 4);

    // Unplugged while the page is shown: the choice stays, the sound goes to the default.
    hardware->unplug(QStringLiteral("six"));
    EXPECT_EQ(page.devices().currentText(), QStringLiteral("six (not connected)"));
    EXPECT_EQ(page.leftChannel().currentText(), QStringLiteral("Channel 1"));
    EXPECT_EQ(VLRTAudioPlayer::selectedOutputDevice(), 2U);
    choose(page.devices(), 0);
    EXPECT_EQ(UserDefaults::standard().stringValue(AudioPreference::outputDevice()), QString());
    NotificationCenter::standard().removeObserver(token);
}

TEST(PreferencesDialogTest, CountsOneSampleAsOne)
{
    const PreferencesDialog dialog;
    QStringList texts;
    for (const QComboBox* const popUp : dialog.findChildren<QComboBox*>())
        for (int i = 0; i < popUp->count(); ++i)
            texts << popUp->itemText(i);
    EXPECT_TRUE(texts.contains(QStringLiteral("1 sample per pixel")));
    EXPECT_TRUE(texts.contains(QStringLiteral("8 samples per pixel")));
    EXPECT_TRUE(texts.filter(QStringLiteral("1 samples")).isEmpty());
}

} // namespace velloria::test
