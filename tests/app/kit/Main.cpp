#include "app/look/Translations.h"
#include "app/preferences/Settings.h"

#include <QApplication>
#include <QTemporaryDir>
#include <gtest/gtest.h>

// Windows need a QApplication and the program's texts; settings, scratch files and sockets lie in a folder of
// the test's own.
int main(int argc, char** argv)
{
    // Also where the tests are only listed, while they are built: there may be no display.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleTest(&argc, argv);
    QTemporaryDir home;
    const QByteArray root = home.path().toLocal8Bit();
    for (const char* variable :
         {"TMPDIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"})
        qputenv(variable, root);
    qputenv("VELLORIA_STRICT_LEDGER", "1");
    // Nobody's desktop is asked whether it is dark.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
    QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Velloria"));
    QCoreApplication::setApplicationName(QStringLiteral("Velloria"));
    velloria::installTranslations(application);
    velloria::Settings::registerDefaults();
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    return RUN_ALL_TESTS();
}
