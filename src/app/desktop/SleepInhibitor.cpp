#include "app/desktop/SleepInhibitor.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <utility>

namespace velloria
{

namespace
{

const QString kApplication = QStringLiteral("Velloria");

QDBusMessage screenSaverCall(const QString& method)
{
    return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.ScreenSaver"),
                                          QStringLiteral("/org/freedesktop/ScreenSaver"),
                                          QStringLiteral("org.freedesktop.ScreenSaver"), method);
}

void endScreenSaverLock(uint32_t cookie)
{
    QDBusMessage call = screenSaverCall(QStringLiteral("UnInhibit"));
    call.setArguments({cookie});
    QDBusConnection::sessionBus().call(call, QDBus::NoBlock);
}

/// Why the machine stays awake, as the desktop shows it.
QString reason()
{
    //: Why the machine does not go to sleep
    //% "Recording sound"
    return qtTrId("inhibit-reason");
}

} // namespace

SleepInhibitor& SleepInhibitor::shared()
{
    static auto* const inhibitor = new SleepInhibitor;
    return *inhibitor;
}

void SleepInhibitor::hold(const QObject* owner)
{
    if (mOwners.insert(owner).second && mOwners.size() == 1)
        inhibit();
}

void SleepInhibitor::release(const QObject* owner)
{
    if (mOwners.erase(owner) > 0 && mOwners.empty())
        uninhibit();
}

void SleepInhibitor::inhibit()
{
    ++mRequest;
    askLoginManager();
}

void SleepInhibitor::askLoginManager()
{
    const QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        askScreenSaver();
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("Inhibit"));
    call.setArguments({QStringLiteral("sleep:idle"), kApplication, reason(), QStringLiteral("block")});
    auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, request = mRequest] {
        const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *watcher;
        watcher->deleteLater();
        // A lock that came too late ends with the reply.
        if (request != mRequest || !isHeld())
            return;
        if (reply.isValid())
            mLock = reply.value();
        else
            askScreenSaver();
    });
}

void SleepInhibitor::askScreenSaver()
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    QDBusMessage call = screenSaverCall(QStringLiteral("Inhibit"));
    call.setArguments({kApplication, reason()});
    auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, request = mRequest] {
        const QDBusPendingReply<uint32_t> reply = *watcher;
        watcher->deleteLater();
        if (!reply.isValid())
            return;
        if (request == mRequest && isHeld())
            mCookie = reply.value();
        else
            endScreenSaverLock(reply.value());
    });
}

void SleepInhibitor::uninhibit()
{
    mLock = QDBusUnixFileDescriptor();
    if (const uint32_t cookie = std::exchange(mCookie, 0))
        endScreenSaverLock(cookie);
}

} // namespace velloria
