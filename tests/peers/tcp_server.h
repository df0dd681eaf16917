// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/files.h"

#include <QByteArray>
#include <QString>

#include <netinet/in.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <thread>

namespace vorn {

/// An IPv4 address for the system's calls.
[[nodiscard]] sockaddr_in endpoint(const QString &host, std::uint16_t port);
/// A socket of a type such as SOCK_STREAM; port 0 takes a free one.
[[nodiscard]] FileDescriptor boundTo(int type, const QString &host, std::uint16_t port);

/// One connection as its server sees it. Thread: the one that serves it.
class TcpPeer {
public:
    explicit TcpPeer(int descriptor) : m_descriptor(descriptor) {}

    [[nodiscard]] int descriptor() const { return m_descriptor; }
    /// What comes next, at most so many bytes; empty once the client has gone.
    [[nodiscard]] QByteArray receive(qsizetype maximum);
    /// False once the client has gone.
    bool send(const QByteArray &bytes);
    /// The bytes with their length before them.
    bool sendFrame(const QByteArray &bytes);
    /// Sends nothing until the client or the server closes the connection.
    void stayUntilClosed();

private:
    int m_descriptor;
};

/// A server on plain threads, one for each connection, whose end closes it.
class TcpServer {
public:
    using Serve = std::function<void(TcpPeer &peer)>;

    /// Listens on a loopback address; port 0 takes a free one.
    explicit TcpServer(Serve serve, const QString &host = QStringLiteral("127.0.0.1"),
                       std::uint16_t port = 0);
    /// With a socket that is bound.
    TcpServer(FileDescriptor bound, Serve serve);
    /// Closes all connections and waits for their threads.
    ~TcpServer();
    TcpServer(const TcpServer &) = delete;
    TcpServer &operator=(const TcpServer &) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    /// Up to now. Any thread.
    [[nodiscard]] int connections() const;
    /// Those that the client holds. Any thread.
    [[nodiscard]] int openConnections() const;

private:
    void acceptAll();

    Serve m_serve;
    FileDescriptor m_listener;
    std::uint16_t m_port = 0;
    mutable std::mutex m_mutex;
    std::condition_variable m_closed;
    int m_connections = 0;
    std::set<int> m_open; ///< descriptors
    std::thread m_acceptor;
};

/// A listener that takes no connection: its queue is full, and the system drops what more comes.
class DeafListener {
public:
    DeafListener();
    [[nodiscard]] std::uint16_t port() const { return m_port; }

private:
    FileDescriptor m_listener;
    FileDescriptor m_waiting;
    std::uint16_t m_port = 0;
};

} // namespace vorn
