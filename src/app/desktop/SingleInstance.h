#pragma once

#include "app/desktop/StartRequest.h"

#include <QLocalServer>
#include <QObject>

class QLocalSocket;

namespace velloria
{

/// Sees to it that one process serves a user's desktop: the first one listens on a local socket that only
/// this user may open, a later one hands its request over and ends. A socket that nobody answers is taken
/// over; a first process that hangs is given some seconds and then left alone. Main thread.
///
/// The hand-over has two steps, so that a process that comes back after the other has given up does not open
/// the files a second time: it answers "ready" to the request and acts only on the "go" that follows.
class SingleInstance : public QObject
{
    Q_OBJECT

public:
    enum class Role {
        first,      ///< this process serves from now on
        handedOver, ///< another process took the request; this one may end
        alone,      ///< another process does not answer, or no socket can be made
    };

    /// `socketPath` empty means the one of this user and display.
    explicit SingleInstance(const QString& socketPath = {}, QObject* parent = nullptr);
    ~SingleInstance() override;

    Role start(const StartRequest& request);
    const QString& socketPath() const { return mSocketPath; }
    static QString defaultSocketPath();

    /// How long a hand-over may take.
    void setTimeoutMilliseconds(int timeout) { mTimeout = timeout; }

Q_SIGNALS:
    void requestReceived(const velloria::StartRequest& request);

private:
    enum class HandOver { done, nobody, noAnswer };
    HandOver handOver(const QByteArray& message) const;
    bool listen();
    void acceptConnections();

    QString mSocketPath;
    QLocalServer mServer;
    int mTimeout = 3000;
};

} // namespace velloria
