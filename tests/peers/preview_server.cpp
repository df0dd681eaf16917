#include "preview_server.h"

#include <QtEndian>

#include <arpa/inet.h>
#include <sys/socket.h>

#include <array>
#include <utility>

namespace vorn {

bool PreviewPeer::send(const QByteArray &bytes)
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

bool PreviewPeer::sendFrame(const QByteArray &bytes)
{
    std::array<char, 4> prefix;
    qToBigEndian(quint32(bytes.size()), prefix.data());
    return send(QByteArray(prefix.data(), prefix.size()) + bytes);
}

void PreviewPeer::stayUntilClosed()
{
    char unexpected = 0;
    while (::recv(m_descriptor, &unexpected, 1, 0) > 0) {
    }
}

PreviewServer::PreviewServer(Answer answer, const QString &host, std::uint16_t port)
    : m_answer(std::move(answer)), m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    const int yes = 1;
    ::setsockopt(m_listener.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{.sin_family = AF_INET,
                        .sin_port = htons(port),
                        .sin_addr = {.s_addr = ::inet_addr(qPrintable(host))},
                        .sin_zero = {}};
    socklen_t size = sizeof address;
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    if (::bind(m_listener.get(), generic, size) != 0 || ::listen(m_listener.get(), 64) != 0
        || ::getsockname(m_listener.get(), generic, &size) != 0)
        qFatal("cannot listen on %s:%d", qPrintable(host), int(port));
    m_port = ntohs(address.sin_port);
    m_acceptor = std::thread([this] { acceptAll(); });
}

PreviewServer::~PreviewServer()
{
    ::shutdown(m_listener.get(), SHUT_RDWR); // ends accept
    m_acceptor.join();
    std::unique_lock lock(m_mutex);
    for (const int descriptor : m_open)
        ::shutdown(descriptor, SHUT_RDWR);
    m_closed.wait(lock, [this] { return m_open.empty(); });
}

std::vector<int> PreviewServer::modes() const
{
    const std::scoped_lock lock(m_mutex);
    return m_modes;
}

int PreviewServer::openConnections() const
{
    const std::scoped_lock lock(m_mutex);
    return int(m_open.size());
}

void PreviewServer::acceptAll()
{
    for (;;) {
        FileDescriptor socket(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!socket.isOpen())
            return;
        {
            const std::scoped_lock lock(m_mutex);
            m_open.insert(socket.get());
        }
        std::thread([this, connection = std::move(socket)]() mutable {
            serve(std::move(connection));
        }).detach();
    }
}

void PreviewServer::serve(FileDescriptor socket)
{
    char mode = 0;
    if (::recv(socket.get(), &mode, 1, 0) == 1) {
        {
            const std::scoped_lock lock(m_mutex);
            m_modes.push_back(mode);
        }
        PreviewPeer peer(socket.get());
        m_answer(mode, peer);
    }
    // Closed under the lock: the number may be another connection's at once.
    const std::scoped_lock lock(m_mutex);
    m_open.erase(socket.get());
    socket = {};
    m_closed.notify_all();
}

} // namespace vorn
