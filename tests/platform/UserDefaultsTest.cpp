#include "platform/UserDefaults.h"

#include <QFile>
#include <gtest/gtest.h>

namespace velloria
{

TEST(UserDefaultsTest, ASetValueHidesTheRegisteredOneUntilItIsRemoved)
{
    UserDefaults defaults;
    const QString key = QStringLiteral("file.sampleRate");
    EXPECT_FALSE(defaults.value(key).isValid());
    defaults.registerDefault(key, 44100.0);
    EXPECT_EQ(defaults.doubleValue(key), 44100.0);
    EXPECT_FALSE(defaults.isSet(key));
    defaults.setValue(key, 48000.0);
    EXPECT_EQ(defaults.doubleValue(key), 48000.0);
    EXPECT_TRUE(defaults.isSet(key));
    defaults.removeValue(key);
    EXPECT_EQ(defaults.integerValue(key), 44100);
}

TEST(UserDefaultsTest, ValuesAreKeptUnderTheirDottedKeysInTheFolderOfTheEnvironment)
{
    {
        UserDefaults defaults;
        defaults.setValue(QStringLiteral("view.grid.snapTo"), true);
        defaults.setValue(QStringLiteral("filter.gain.level"), 0.1);
        defaults.setValue(QStringLiteral("audio.output.device"), QStringLiteral("Büro, links; \"A\""));
    }
    QFile file(qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Velloria/Velloria.ini"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    EXPECT_TRUE(text.contains("\nview.grid.snapTo=1\n")) << text.toStdString();
    EXPECT_TRUE(text.contains("\nfilter.gain.level=0.1\n")) << text.toStdString();

    // Read back as another run does: from the file's text.
    ASSERT_TRUE(file.rename(file.fileName() + QStringLiteral(".moved")));
    EXPECT_FALSE(UserDefaults().isSet(QStringLiteral("view.grid.snapTo")));
    ASSERT_TRUE(file.rename(file.fileName().chopped(6)));
    const UserDefaults defaults;
    EXPECT_TRUE(defaults.boolValue(QStringLiteral("view.grid.snapTo")));
    EXPECT_EQ(defaults.integerValue(QStringLiteral("view.grid.snapTo")), 1);
    EXPECT_EQ(defaults.doubleValue(QStringLiteral("filter.gain.level")), 0.1);
    EXPECT_EQ(defaults.stringValue(QStringLiteral("audio.output.device")),
              QStringLiteral("Büro, links; \"A\""));
}

} // namespace velloria
