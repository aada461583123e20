#pragma once

#include <QDBusPendingCallWatcher>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <set>

namespace velloria
{

/// Keeps the machine awake while somebody records: through the login manager, else through the desktop's
/// screen saver service. Where there is neither, nothing happens. Main thread; never waits.
class SleepInhibitor : public QObject
{
    Q_OBJECT

public:
    static SleepInhibitor& shared();

    void hold(const QObject* owner);
    void release(const QObject* owner);
    bool isHeld() const { return !mOwners.empty(); }

private:
    void inhibit();
    void askLoginManager();
    void askScreenSaver();
    void uninhibit();

    std::set<const QObject*> mOwners;
    /// Of the present request; an answer to an earlier one is given back.
    int mRequest = 0;
    /// The login manager takes its being closed as the end.
    QDBusUnixFileDescriptor mLock;
    uint32_t mCookie = 0;
};

} // namespace velloria
