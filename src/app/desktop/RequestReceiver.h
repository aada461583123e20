#pragma once

#include "app/desktop/StartRequest.h"

#include <QObject>

class QLocalSocket;

namespace velloria
{

/// The first process's side of one hand-over: reads a request, answers, and deletes itself and the socket
/// when the connection ends. What is too long or no request ends the connection.
class RequestReceiver : public QObject
{
    Q_OBJECT

public:
    inline static const QByteArray kReady = QByteArrayLiteral("ready\n");
    inline static const QByteArray kGo = QByteArrayLiteral("go\n");
    inline static const QByteArray kDone = QByteArrayLiteral("done\n");

    /// Takes the socket over.
    explicit RequestReceiver(QLocalSocket* socket);

Q_SIGNALS:
    void received(const velloria::StartRequest& request);

private:
    void read();
    void takeMessage();
    void takeGo();

    QLocalSocket* mSocket;
    QByteArray mBytes;
    std::optional<StartRequest> mRequest;
};

} // namespace velloria
