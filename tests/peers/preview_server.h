// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tcp_server.h"

#include <vector>

namespace vorn {

/// A phone's preview port as a test wants it to behave.
class PreviewServer {
public:
    /// Gets the mode that was asked for, on the connection's thread. Its end closes the connection.
    using Answer = std::function<void(int mode, TcpPeer &peer)>;

    /// Listens on a loopback address; port 0 takes a free one.
    explicit PreviewServer(const Answer &answer, const QString &host = QStringLiteral("127.0.0.1"),
                           std::uint16_t port = 0)
        : m_server(
              [this, answer](TcpPeer &peer) {
                  const QByteArray mode = peer.receive(1);
                  if (mode.isEmpty())
                      return;
                  {
                      const std::scoped_lock lock(m_mutex);
                      m_modes.push_back(mode.front());
                  }
                  answer(mode.front(), peer);
              },
              host, port)
    {
    }

    [[nodiscard]] std::uint16_t port() const { return m_server.port(); }
    /// What was asked for up to now, in order. Any thread.
    [[nodiscard]] std::vector<int> modes() const
    {
        const std::scoped_lock lock(m_mutex);
        return m_modes;
    }
    /// Connections that the client holds. Any thread.
    [[nodiscard]] int openConnections() const { return m_server.openConnections(); }

private:
    mutable std::mutex m_mutex;
    std::vector<int> m_modes;
    TcpServer m_server; ///< ends before what its threads use
};

} // namespace vorn
