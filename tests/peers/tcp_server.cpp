// SPDX-License-Identifier: Apache-2.0

#include "tcp_server.h"

#include <QtEndian>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <sys/socket.h>

#include <utility>

namespace vorn {

sockaddr_in endpoint(const QString &host, std::uint16_t port)
{
    return {.sin_family = AF_INET,
            .sin_port = htons(port),
            .sin_addr = {.s_addr = ::inet_addr(qPrintable(host))},
            .sin_zero = {}};
}

FileDescriptor boundTo(int type, const QString &host, std::uint16_t port)
{
    FileDescriptor made(::socket(AF_INET, type | SOCK_CLOEXEC, 0));
    const int yes = 1;
    ::setsockopt(made.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    const sockaddr_in address = endpoint(host, port);
    if (::bind(made.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        qFatal("cannot bind %s:%d", qPrintable(host), int(port));
    return made;
}

namespace {

/// Lets `listener` listen. Gives where.
sockaddr_in listening(const FileDescriptor &listener, int queue)
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    if (::listen(listener.get(), queue) != 0
        || ::getsockname(listener.get(), reinterpret_cast<sockaddr *>(&address), &size) != 0)
        qFatal("cannot listen");
    return address;
}

} // namespace

QByteArray TcpPeer::receive(qsizetype maximum)
{
    QByteArray bytes(maximum, '\0');
    bytes.resize(std::max<ssize_t>(0, ::recv(m_descriptor, bytes.data(), std::size_t(maximum), 0)));
    return bytes;
}

bool TcpPeer::send(const QByteArray &bytes)
{
    for (qsizetype sent = 0; sent < bytes.size();) {
        const ssize_t count = ::send(m_descriptor, bytes.constData() + sent,
                                     std::size_t(bytes.size() - sent), MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        sent += count;
    }
    return true;
}

bool TcpPeer::sendFrame(const QByteArray &bytes)
{
    QByteArray prefix(4, '\0');
    qToBigEndian(quint32(bytes.size()), prefix.data());
    return send(prefix + bytes);
}

void TcpPeer::stayUntilClosed()
{
    while (!receive(1).isEmpty()) {
    }
}

TcpServer::TcpServer(Serve serve, const QString &host, std::uint16_t port)
    : TcpServer(boundTo(SOCK_STREAM, host, port), std::move(serve))
{
}

TcpServer::TcpServer(FileDescriptor bound, Serve serve)
    : m_serve(std::move(serve)),
      m_listener(std::move(bound)),
      m_port(ntohs(listening(m_listener, 64).sin_port)),
      m_acceptor([this] { acceptAll(); })
{
}

TcpServer::~TcpServer()
{
    ::shutdown(m_listener.get(), SHUT_RDWR); // ends accept
    m_acceptor.join();
    std::unique_lock lock(m_mutex);
    for (const int descriptor : m_open)
        ::shutdown(descriptor, SHUT_RDWR);
    m_closed.wait(lock, [this] { return m_open.empty(); });
}

int TcpServer::connections() const
{
    const std::scoped_lock lock(m_mutex);
    return m_connections;
}

int TcpServer::openConnections() const
{
    const std::scoped_lock lock(m_mutex);
    return int(m_open.size());
}

void TcpServer::acceptAll()
{
    // Of this thread and those that it starts: signals are for the program under test, a broken
    // pipe is for its own threads only, and one for a fuzzer's clock ended the waiting here.
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, nullptr);
    for (;;) {
        FileDescriptor socket(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!socket.isOpen())
            return;
        const int yes = 1; // small answers go at once
        ::setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
        {
            const std::scoped_lock lock(m_mutex);
            ++m_connections;
            m_open.insert(socket.get());
        }
        std::thread([this, connection = std::move(socket)]() mutable {
            TcpPeer peer(connection.get());
            m_serve(peer);
            // Closed under the lock: the number may be another connection's at once.
            const std::scoped_lock lock(m_mutex);
            m_open.erase(connection.get());
            connection = {};
            m_closed.notify_all();
        }).detach();
    }
}

DeafListener::DeafListener()
    : m_listener(boundTo(SOCK_STREAM, QStringLiteral("127.0.0.1"), 0)),
      m_waiting(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    const sockaddr_in address = listening(m_listener, 0);
    if (::connect(m_waiting.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address)
        != 0)
        qFatal("cannot fill a listener's queue");
    m_port = ntohs(address.sin_port);
}

} // namespace vorn
