#include "app/desktop/RequestReceiver.h"

#include <QLocalSocket>
#include <QTimer>
#include <QtEndian>

namespace velloria
{

namespace
{

constexpr qsizetype kMaxMessageBytes = 32 << 20;
constexpr qsizetype kLengthBytes = 4;
constexpr int kLongestConversationMilliseconds = 30000;

} // namespace

RequestReceiver::RequestReceiver(QLocalSocket* socket)
    : QObject(socket)
    , mSocket(socket)
{
    connect(socket, &QLocalSocket::readyRead, this, &RequestReceiver::read);
    connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    QTimer::singleShot(kLongestConversationMilliseconds, socket, &QLocalSocket::abort);
    read();
}

void RequestReceiver::read()
{
    mBytes += mSocket->readAll();
    if (!mRequest)
        takeMessage();
    if (mRequest)
        takeGo();
}

void RequestReceiver::takeMessage()
{
    if (mBytes.size() < kLengthBytes)
        return;
    const qsizetype length = qFromBigEndian<quint32>(mBytes.constData());
    if (length > kMaxMessageBytes) {
        mSocket->abort();
        return;
    }
    if (mBytes.size() < kLengthBytes + length)
        return;
    mRequest = StartRequest::decoded(mBytes.mid(kLengthBytes, length));
    mBytes.remove(0, kLengthBytes + length);
    if (!mRequest) {
        mSocket->abort();
        return;
    }
    mSocket->write(kReady);
    mSocket->flush();
}

void RequestReceiver::takeGo()
{
    if (mBytes != kGo)
        return;
    mBytes.clear();
    mSocket->write(kDone);
    mSocket->flush();
    Q_EMIT received(*mRequest);
}

} // namespace velloria
