#pragma once

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QTemporaryDir>
#include <memory>

namespace velloria::test
{

/// A bus of the test's own, the program's system and session bus at once, with a desktop on it.
class PrivateBus
{
public:
    ~PrivateBus()
    {
        QDBusConnection::disconnectFromBus(QStringLiteral("desktop"));
        mBus.kill();
        mBus.waitForFinished();
    }

    /// Nothing, or why there is no bus.
    QString start()
    {
        mBus.start(QStringLiteral("setpriv"),
                   {QStringLiteral("--pdeathsig"), QStringLiteral("KILL"), QStringLiteral("dbus-daemon"),
                    QStringLiteral("--session"), QStringLiteral("--nofork"),
                    QStringLiteral("--print-address"),
                    QStringLiteral("--address=unix:path=%1/bus").arg(mFolder.path())});
        if (!mBus.waitForReadyRead(20000))
            return QStringLiteral("dbus-daemon does not start");
        const QByteArray address = mBus.readLine().trimmed();
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
        mConnection = std::make_unique<QDBusConnection>(
            QDBusConnection::connectToBus(QString::fromUtf8(address), QStringLiteral("desktop")));
        if (!QDBusConnection::systemBus().isConnected() || !QDBusConnection::sessionBus().isConnected())
            return QStringLiteral("this process has asked for another bus before");
        return {};
    }

    bool serve(QDBusVirtualObject& desktop, const QString& service, const QString& path)
    {
        return mConnection->registerVirtualObject(path, &desktop) && mConnection->registerService(service);
    }

private:
    QTemporaryDir mFolder;
    QProcess mBus;
    std::unique_ptr<QDBusConnection> mConnection;
};

} // namespace velloria::test
