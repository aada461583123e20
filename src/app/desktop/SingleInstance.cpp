#include "app/desktop/SingleInstance.h"

#include "app/desktop/RequestReceiver.h"
#include "platform/Log.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QDeadlineTimer>
#include <QDir>
#include <QLocalSocket>
#include <QLockFile>
#include <QStandardPaths>

namespace velloria
{

namespace
{

constexpr quint32 kMagic = 0x56656c31; // "Vel1"
constexpr quint32 kMaxFiles = 100000;
constexpr int kConnectMilliseconds = 1000;
constexpr int kLockMilliseconds = 3000;

QByteArray bytesOf(const std::filesystem::path& path)
{
    return QByteArray::fromStdString(path.native());
}

/// What arrived until it ends with `wanted`; false when time runs out or the other side is gone.
bool waitFor(QLocalSocket& socket, const QByteArray& wanted, const QDeadlineTimer& deadline)
{
    QByteArray received;
    while (received.size() < wanted.size()) {
        if (socket.bytesAvailable() == 0 &&
            !socket.waitForReadyRead(static_cast<int>(deadline.remainingTime())))
            return false;
        received += socket.read(wanted.size() - received.size());
    }
    return received == wanted;
}

} // namespace

QByteArray StartRequest::encoded() const
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_6_0);
    stream << kMagic << bytesOf(workingFolder) << wantsNewDocument << activationToken
           << static_cast<quint32>(files.size());
    for (const std::filesystem::path& file : files)
        stream << bytesOf(file);
    return bytes;
}

std::optional<StartRequest> StartRequest::decoded(const QByteArray& bytes)
{
    QDataStream stream(bytes);
    stream.setVersion(QDataStream::Qt_6_0);
    quint32 magic = 0;
    quint32 numFiles = 0;
    QByteArray folder;
    StartRequest request;
    stream >> magic >> folder >> request.wantsNewDocument >> request.activationToken >> numFiles;
    if (stream.status() != QDataStream::Ok || magic != kMagic || numFiles > kMaxFiles)
        return std::nullopt;
    request.workingFolder = folder.toStdString();
    for (quint32 i = 0; i < numFiles; ++i) {
        QByteArray file;
        stream >> file;
        request.files.emplace_back(file.toStdString());
    }
    if (stream.status() != QDataStream::Ok || !stream.atEnd())
        return std::nullopt;
    return request;
}

SingleInstance::SingleInstance(const QString& socketPath, QObject* parent)
    : QObject(parent)
    , mSocketPath(socketPath.isEmpty() ? defaultSocketPath() : socketPath)
{
    mServer.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&mServer, &QLocalServer::newConnection, this, &SingleInstance::acceptConnections);
}

SingleInstance::~SingleInstance() = default;

QString SingleInstance::defaultSocketPath()
{
    // Each display has its own first process: a window must not appear where nobody sits.
    const QByteArray display = qgetenv("WAYLAND_DISPLAY") + '\n' + qgetenv("DISPLAY");
    const QByteArray hash = QCryptographicHash::hash(display, QCryptographicHash::Sha1).toHex().left(10);
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    return QDir(folder).filePath(QStringLiteral("velloria-") + QString::fromLatin1(hash));
}

SingleInstance::Role SingleInstance::start(const StartRequest& request)
{
    // Two processes that start at once must not both find nobody.
    QLockFile lock(mSocketPath + QStringLiteral(".lock"));
    lock.setStaleLockTime(0);
    if (!lock.tryLock(kLockMilliseconds))
        return Role::alone;
    switch (handOver(request.encoded())) {
    case HandOver::done:
        return Role::handedOver;
    case HandOver::noAnswer:
        logLine(
            QStringLiteral("The Velloria that is already running does not answer; starting another one."));
        return Role::alone;
    case HandOver::nobody:
        break;
    }
    return listen() ? Role::first : Role::alone;
}

SingleInstance::HandOver SingleInstance::handOver(const QByteArray& message) const
{
    QLocalSocket socket;
    socket.connectToServer(mSocketPath);
    if (!socket.waitForConnected(kConnectMilliseconds))
        return socket.error() == QLocalSocket::SocketTimeoutError ? HandOver::noAnswer : HandOver::nobody;
    const QDeadlineTimer deadline(mTimeout);
    QByteArray framed;
    QDataStream stream(&framed, QIODevice::WriteOnly);
    stream << message;
    socket.write(framed);
    socket.flush();
    if (!waitFor(socket, RequestReceiver::kReady, deadline))
        return HandOver::noAnswer;
    socket.write(RequestReceiver::kGo);
    socket.flush();
    return waitFor(socket, RequestReceiver::kDone, deadline) ? HandOver::done : HandOver::noAnswer;
}

bool SingleInstance::listen()
{
    // Nobody answered under the lock, so what is left of a socket there belongs to no one.
    QLocalServer::removeServer(mSocketPath);
    return mServer.listen(mSocketPath);
}

void SingleInstance::acceptConnections()
{
    while (QLocalSocket* const socket = mServer.nextPendingConnection()) {
        auto* const receiver = new RequestReceiver(socket);
        connect(receiver, &RequestReceiver::received, this, &SingleInstance::requestReceived);
    }
}

} // namespace velloria
