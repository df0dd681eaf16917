#include "platform/tcp_socket.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace vorn {

std::optional<in_addr> ipv4Address(const QString &text)
{
    in_addr address{};
    // The system would stop reading at a NUL.
    if (text.contains(QChar(u'\0')))
        return std::nullopt;
    return ::inet_pton(AF_INET, text.toUtf8().constData(), &address) == 1 ? std::optional(address)
                                                                          : std::nullopt;
}

std::optional<TcpSocket> TcpSocket::connect(in_addr address, std::uint16_t port,
                                            std::chrono::milliseconds limit, const StopSignal &stop)
{
    TcpSocket connection(
        FileDescriptor(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)), limit,
        stop);
    if (!connection.m_socket.isOpen())
        return std::nullopt;
    const sockaddr_in peer{
        .sin_family = AF_INET, .sin_port = htons(port), .sin_addr = address, .sin_zero = {}};
    const int descriptor = connection.m_socket.get();
    if (::connect(descriptor, reinterpret_cast<const sockaddr *>(&peer), sizeof peer) == 0)
        return connection;
    if (errno != EINPROGRESS || !connection.waitFor(POLLOUT, MonotonicClock::time_point::max()))
        return std::nullopt;
    int failure = 0;
    socklen_t size = sizeof failure;
    if (::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &failure, &size) != 0 || failure != 0)
        return std::nullopt;
    return connection;
}

bool TcpSocket::send(std::byte byte)
{
    // A connection that has sent nothing yet has room for a byte.
    return ::send(m_socket.get(), &byte, 1, MSG_NOSIGNAL) == 1;
}

std::size_t TcpSocket::receive(std::span<std::byte> into, MonotonicClock::time_point deadline)
{
    // A peer that never lets the connection run dry must not outrun its deadline.
    while (MonotonicClock::now() < deadline) {
        const ssize_t count = ::recv(m_socket.get(), into.data(), into.size(), 0);
        if (count >= 0)
            return std::size_t(count);
        const bool nothingYet = errno == EAGAIN || errno == EINTR;
        if (!nothingYet || !waitFor(POLLIN, deadline))
            break;
    }
    return 0;
}

bool TcpSocket::waitFor(short events, MonotonicClock::time_point deadline)
{
    const auto end = std::min(deadline, MonotonicClock::now() + m_limit);
    std::array<pollfd, 2> waited{
        pollfd{.fd = m_socket.get(), .events = events, .revents = 0},
        pollfd{.fd = m_stop->descriptor(), .events = POLLIN, .revents = 0}};
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - MonotonicClock::now());
        if (left.count() <= 0)
            return false;
        const int ready = ::poll(waited.data(), waited.size(), int(left.count()));
        if (ready > 0)
            return waited[1].revents == 0;
        if (ready == 0 || errno != EINTR)
            return false;
    }
}

} // namespace vorn
