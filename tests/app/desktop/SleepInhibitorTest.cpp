#include "app/desktop/SleepInhibitor.h"

#include "app/kit/AppTestKit.h"
#include "app/kit/PrivateBus.h"

#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QProcess>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace velloria::test
{

/// The login manager or the screen saver of a desktop: notes what is asked of it.
class Desktop : public QDBusVirtualObject
{
public:
    Desktop()
    {
        if (::pipe2(mPipe, O_CLOEXEC) != 0)
            mPipe[0] = -1;
    }
    ~Desktop() override
    {
        closeWriteEnd();
        ::close(mPipe[0]);
    }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        calls += message.member();
        arguments = message.arguments();
        if (message.member() == QLatin1String("UnInhibit"))
            return connection.send(message.createReply());
        if (message.interface() == QLatin1String("org.freedesktop.ScreenSaver"))
            return connection.send(message.createReply(QVariant::fromValue<uint32_t>(17)));
        const bool isSent =
            connection.send(message.createReply(QVariant::fromValue(QDBusUnixFileDescriptor(mPipe[1]))));
        closeWriteEnd();
        return isSent;
    }

    /// Nobody holds the descriptor any more that stands for the lock.
    bool isLockGone() const
    {
        pollfd descriptor = {mPipe[0], POLLIN, 0};
        return ::poll(&descriptor, 1, 0) == 1 && (descriptor.revents & POLLHUP);
    }

    QStringList calls;
    QVariantList arguments;

private:
    void closeWriteEnd() { ::close(std::exchange(mPipe[1], -1)); }

    int mPipe[2] = {-1, -1};
};

class SleepInhibitorTest : public testing::Test
{
protected:
    QString startBus() { return mBus.start(); }
    bool serve(const QString& service, const QString& path) { return mBus.serve(desktop, service, path); }

    Desktop desktop;
    const QObject owner;
    const QObject other;

private:
    PrivateBus mBus;
};

TEST_F(SleepInhibitorTest, KeepsTheLoginManagersLockWhileSomebodyRecords)
{
    if (const QString problem = startBus(); !problem.isEmpty())
        GTEST_SKIP() << qPrintable(problem);
    ASSERT_TRUE(serve(QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1")));
    SleepInhibitor& inhibitor = SleepInhibitor::shared();
    QTest::qWait(50);
    EXPECT_TRUE(desktop.calls.isEmpty()) << "nobody records";
    inhibitor.hold(&owner);
    inhibitor.hold(&other);
    ASSERT_TRUE(waitUntil([this] { return !desktop.calls.isEmpty(); }));
    EXPECT_EQ(desktop.arguments, QVariantList({QStringLiteral("sleep:idle"), QStringLiteral("Velloria"),
                                               QStringLiteral("Recording sound"), QStringLiteral("block")}));
    inhibitor.release(&owner);
    QTest::qWait(50);
    EXPECT_FALSE(desktop.isLockGone()) << "the other one still records";
    inhibitor.release(&other);
    EXPECT_TRUE(waitUntil([this] { return desktop.isLockGone(); }));
    EXPECT_EQ(desktop.calls, QStringList({QStringLiteral("Inhibit")}));
}

TEST_F(SleepInhibitorTest, AsksTheScreenSaverWhereThereIsNoLoginManager)
{
    if (const QString problem = startBus(); !problem.isEmpty())
        GTEST_SKIP() << qPrintable(problem);
    ASSERT_TRUE(
        serve(QStringLiteral("org.freedesktop.ScreenSaver"), QStringLiteral("/org/freedesktop/ScreenSaver")));
    SleepInhibitor& inhibitor = SleepInhibitor::shared();
    inhibitor.hold(&owner);
    ASSERT_TRUE(waitUntil([this] { return !desktop.calls.isEmpty(); }));
    EXPECT_EQ(desktop.arguments,
              QVariantList({QStringLiteral("Velloria"), QStringLiteral("Recording sound")}));
    QTest::qWait(50);
    inhibitor.release(&owner);
    ASSERT_TRUE(waitUntil([this] { return desktop.calls.size() == 2; }));
    EXPECT_EQ(desktop.calls.last(), QStringLiteral("UnInhibit"));
    EXPECT_EQ(desktop.arguments, QVariantList({QVariant::fromValue<uint32_t>(17)}));
}

} // namespace velloria::test
