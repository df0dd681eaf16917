#pragma once

#include "base/files.h"

#include <QByteArray>
#include <QString>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace vorn {

/// One connection to a PreviewServer, seen from the server. Thread: the one that answers it.
class PreviewPeer {
public:
    explicit PreviewPeer(int descriptor) : m_descriptor(descriptor) {}

    /// False once the client has gone.
    bool send(const QByteArray &bytes);
    /// The bytes with their length before them.
    bool sendFrame(const QByteArray &bytes);
    /// Sends nothing, until the client or the server closes the connection.
    void stayUntilClosed();

private:
    int m_descriptor;
};

/// A phone's preview port as a test wants it to behave: a TCP server on plain threads, one for each
/// connection. What a connection takes is given back when it is closed.
class PreviewServer {
public:
    /// Gets the mode that was asked for, on the connection's thread. Its end closes the connection.
    using Answer = std::function<void(int mode, PreviewPeer &peer)>;

    /// Listens on a loopback address; port 0 takes a free one.
    explicit PreviewServer(Answer answer, const QString &host = QStringLiteral("127.0.0.1"),
                           std::uint16_t port = 0);
    /// Closes all connections and waits for their answers to end.
    ~PreviewServer();
    PreviewServer(const PreviewServer &) = delete;
    PreviewServer &operator=(const PreviewServer &) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    /// What was asked for up to now, in order. Any thread.
    [[nodiscard]] std::vector<int> modes() const;
    /// Connections that the client holds. Any thread.
    [[nodiscard]] int openConnections() const;

private:
    void acceptAll();
    void serve(FileDescriptor socket);

    Answer m_answer;
    FileDescriptor m_listener;
    std::uint16_t m_port = 0;
    mutable std::mutex m_mutex;
    std::condition_variable m_closed;
    std::vector<int> m_modes;
    std::set<int> m_open; ///< descriptors
    std::thread m_acceptor;
};

} // namespace vorn
