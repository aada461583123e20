#include <QCoreApplication>
#include <QTemporaryDir>
#include <gtest/gtest.h>

// Every test program runs with settings and scratch files in a folder of its own, so that it never
// touches what the person at this machine has.
int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    QTemporaryDir home;
    const QByteArray root = home.path().toLocal8Bit();
    for (const char* variable : {"TMPDIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        qputenv(variable, root);
    qputenv("VELLORIA_STRICT_LEDGER", "1");
    QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Velloria"));
    QCoreApplication::setApplicationName(QStringLiteral("Velloria"));
    return RUN_ALL_TESTS();
}
