// SPDX-License-Identifier: Apache-2.0

#include "net/tcp_socket.h"

#include "net/ipv4_socket.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace vorn {

std::optional<TcpSocket> TcpSocket::connect(const QString &host, std::uint16_t port,
                                            std::chrono::milliseconds limit, const StopSignal &stop)
{
    TcpSocket connection(beginConnection(host, port), limit, stop);
    if (!connection.m_socket.isOpen()
        || !connection.waitFor(POLLOUT, MonotonicClock::time_point::max())
        || connectionError(connection.m_socket) != 0)
        return std::nullopt;
    return connection;
}

bool TcpSocket::send(std::byte byte)
{
    // A connection that has sent nothing yet has room for a byte.
    return sendBytes(m_socket, {&byte, 1}) == 1;
}

std::size_t TcpSocket::receive(std::span<std::byte> into, MonotonicClock::time_point deadline)
{
    // A peer that never lets the connection run dry must not outrun its deadline.
    while (MonotonicClock::now() < deadline) {
        const auto count = receiveBytes(m_socket, into);
        if (!count)
            break;
        if (*count > 0)
            return *count;
        if (!waitFor(POLLIN, deadline))
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
