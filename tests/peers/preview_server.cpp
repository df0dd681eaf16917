#include "preview_server.h"

namespace vorn {

PreviewServer::PreviewServer(const Answer &answer, const QString &host, std::uint16_t port)
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

std::vector<int> PreviewServer::modes() const
{
    const std::scoped_lock lock(m_mutex);
    return m_modes;
}

} // namespace vorn
