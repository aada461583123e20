#include "app/desktop/SingleInstance.h"

#include "app/kit/AppTestKit.h"

#include <QElapsedTimer>
#include <QLocalSocket>
#include <QProcess>
#include <csignal>
#include <sys/stat.h>

namespace velloria::test
{

class SingleInstanceTest : public testing::Test
{
protected:
    SingleInstanceTest()
    {
        request.files = {"/sounds/one.wav", "/sounds/two\xff.wav"};
        request.workingFolder = "/home/me";
        request.activationToken = "token";
        socketPath = QDir(folder.path()).filePath(QStringLiteral("socket"));
    }

    QString program() const { return QStringLiteral(VELLORIA_APP); }

    /// An editor in a process of its own, on this test's socket.
    void startEditor(QProcess& process, const QStringList& arguments) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), folder.path());
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(program(), arguments);
        ASSERT_TRUE(process.waitForStarted());
    }

    /// A process listens and has let go of the lock.
    bool hasSocket() const
    {
        const QDir runtime(folder.path());
        return !runtime.entryList({QStringLiteral("velloria-*")}, QDir::System).isEmpty() &&
               runtime.entryList({QStringLiteral("*.lock")}, QDir::Files).isEmpty();
    }

    QTemporaryDir folder;
    QString socketPath;
    StartRequest request;
};

TEST_F(SingleInstanceTest, ARequestSurvivesTheWayByteForByte)
{
    const std::optional<StartRequest> decoded = StartRequest::decoded(request.encoded());
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->files, request.files);
    EXPECT_EQ(decoded->workingFolder, request.workingFolder);
    EXPECT_EQ(decoded->activationToken, request.activationToken);
    // Cut short, longer, or something else: no request.
    const QByteArray bytes = request.encoded();
    for (qsizetype length = 0; length < bytes.size(); ++length)
        EXPECT_FALSE(StartRequest::decoded(bytes.left(length))) << length;
    EXPECT_FALSE(StartRequest::decoded(bytes + 'x'));
    EXPECT_FALSE(StartRequest::decoded("not a request at all"));
}

TEST_F(SingleInstanceTest, OnlyThisUserMayOpenTheSocket)
{
    SingleInstance first(socketPath);
    ASSERT_EQ(first.start(request), SingleInstance::Role::first);
    struct stat status = {};
    ASSERT_EQ(::stat(QFile::encodeName(socketPath).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0077U, 0U);
}

TEST_F(SingleInstanceTest, ASocketThatNobodyAnswersIsTakenOver)
{
    {
        // A server that ends without removing its socket.
        QProcess process;
        startEditor(process, {QStringLiteral("--new")});
        ASSERT_TRUE(waitUntil([this] { return hasSocket(); }));
        process.kill();
        ASSERT_TRUE(process.waitForFinished());
    }
    EXPECT_TRUE(hasSocket());
    const QString stale =
        QDir(folder.path()).entryInfoList({QStringLiteral("velloria-*")}, QDir::System).first().filePath();
    SingleInstance first(stale);
    EXPECT_EQ(first.start(request), SingleInstance::Role::first);
}

TEST_F(SingleInstanceTest, GarbageOnTheSocketHarmsNothing)
{
    SingleInstance first(socketPath);
    ASSERT_EQ(first.start(request), SingleInstance::Role::first);
    int numReceived = 0;
    QObject::connect(&first, &SingleInstance::requestReceived, &first, [&numReceived] { ++numReceived; });
    for (const QByteArray& bytes : {QByteArray("\xff\xff\xff\xff garbage", 12), QByteArray("\0\0\0\4abcd", 8),
                                    QByteArray("\0\0\0\4ab", 6)}) {
        QLocalSocket socket;
        socket.connectToServer(socketPath);
        ASSERT_TRUE(socket.waitForConnected(1000));
        socket.write(bytes);
        socket.flush();
        QTest::qWait(50);
    }
    EXPECT_EQ(numReceived, 0);
}

TEST_F(SingleInstanceTest, ASecondProcessHandsItsFilesOverAndEnds)
{
    // This process is the first one; the second is a real start of the editor.
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(folder.path()));
    SingleInstance first;
    ASSERT_EQ(first.start(request), SingleInstance::Role::first);
    std::vector<StartRequest> received;
    QObject::connect(&first, &SingleInstance::requestReceived, &first,
                     [&received](const StartRequest& arrived) { received.push_back(arrived); });
    QProcess second;
    second.setWorkingDirectory(folder.path());
    startEditor(second, {QStringLiteral("relative.wav"), QStringLiteral("/absolute.wav")});
    ASSERT_TRUE(waitUntil([&second] { return second.state() == QProcess::NotRunning; }));
    EXPECT_EQ(second.exitCode(), 0);
    ASSERT_EQ(received.size(), 1U);
    const std::filesystem::path working = std::filesystem::canonical(folder.path().toStdString());
    EXPECT_EQ(received[0].files,
              (std::vector<std::filesystem::path>{working / "relative.wav", "/absolute.wav"}));
    EXPECT_EQ(received[0].workingFolder, working);
}

TEST_F(SingleInstanceTest, AHungFirstProcessDoesNotHangTheSecondNorOpenItsFilesLater)
{
    QProcess hung;
    startEditor(hung, {QStringLiteral("--new")});
    ASSERT_TRUE(waitUntil([this] { return hasSocket(); }));
    ASSERT_EQ(::kill(static_cast<pid_t>(hung.processId()), SIGSTOP), 0);
    const QString path =
        QDir(folder.path()).entryInfoList({QStringLiteral("velloria-*")}, QDir::System).first().filePath();
    SingleInstance second(path);
    second.setTimeoutMilliseconds(300);
    QElapsedTimer elapsed;
    elapsed.start();
    EXPECT_EQ(second.start(request), SingleInstance::Role::alone);
    EXPECT_LT(elapsed.elapsed(), 2500);
    // When it comes back it says that the files are missing only if it tried to open them.
    ::kill(static_cast<pid_t>(hung.processId()), SIGCONT);
    EXPECT_FALSE(hung.waitForFinished(500));
    hung.kill();
    hung.waitForFinished();
}

} // namespace velloria::test
