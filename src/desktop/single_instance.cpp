#include "desktop/single_instance.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>

#include <fcntl.h>
#include <sys/file.h>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

constexpr QByteArrayView raiseMessage = "raise";

} // namespace

SingleInstance::SingleInstance(QObject *parent) : QObject(parent)
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    const QString socketPath = folder + u"/vorn-desktop.socket"_s;
    FileDescriptor lock(::open(nativePath(folder + u"/vorn-desktop.lock"_s).constData(),
                               O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    // Without a runtime folder there is nothing to meet in: start, rather than refuse to.
    if (!lock.isOpen()) {
        m_lock = FileDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        return;
    }
    if (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
        askFirstToRaise(socketPath);
        return;
    }
    m_lock = std::move(lock);
    listen(socketPath);
}

void SingleInstance::listen(const QString &socketPath)
{
    // Ours by the lock: what stands there is left over from a process that was killed.
    QLocalServer::removeServer(socketPath);
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *client = m_server->nextPendingConnection()) {
            connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
            connect(client, &QLocalSocket::readyRead, this, [this, client] {
                if (client->read(raiseMessage.size()) == raiseMessage)
                    Q_EMIT raiseRequested();
                client->disconnectFromServer();
            });
        }
    });
    m_server->listen(socketPath);
}

void SingleInstance::askFirstToRaise(const QString &socketPath)
{
    // Short waits are fine here: this process has no window and ends when they are over.
    constexpr int patienceMs = 2000;
    QLocalSocket socket;
    socket.connectToServer(socketPath);
    if (!socket.waitForConnected(patienceMs))
        return;
    socket.write(raiseMessage.data(), raiseMessage.size());
    socket.waitForBytesWritten(patienceMs);
    socket.waitForDisconnected(patienceMs);
}

} // namespace vorn
