// SPDX-License-Identifier: Apache-2.0

#include "net/ipv4_socket.h"

#include "net/network_interfaces.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>

namespace vorn {
namespace {

std::optional<in_addr> parsed(const QString &host)
{
    in_addr address{};
    // The system would stop reading at a NUL.
    if (host.contains(QChar(u'\0'))
        || ::inet_pton(AF_INET, host.toLatin1().constData(), &address) != 1)
        return std::nullopt;
    return address;
}

/// Where something may be sent to; absent when that is no address, or not nearby.
std::optional<in_addr> reachable(const QString &host)
{
    const auto address = parsed(host);
    return address && isNearby(QHostAddress(ntohl(address->s_addr))) ? address : std::nullopt;
}

QString dotted(in_addr address)
{
    std::array<char, INET_ADDRSTRLEN> text{};
    ::inet_ntop(AF_INET, &address, text.data(), text.size());
    return QString::fromLatin1(text.data());
}

sockaddr_in endpoint(in_addr address, std::uint16_t port)
{
    sockaddr_in made{};
    made.sin_family = AF_INET;
    made.sin_port = htons(port);
    made.sin_addr = address;
    return made;
}

const sockaddr *generic(const sockaddr_in &address)
{
    return reinterpret_cast<const sockaddr *>(&address);
}

template <class Value>
bool setOption(const FileDescriptor &socket, int level, int option, const Value &value)
{
    return ::setsockopt(socket.get(), level, option, &value, sizeof value) == 0;
}

/// Repeats a call that a signal has interrupted.
template <class Call> ssize_t uninterrupted(Call &&call)
{
    ssize_t result = -1;
    do
        result = call();
    while (result < 0 && errno == EINTR);
    return result;
}

bool wouldBlock()
{
    return errno == EAGAIN || errno == EWOULDBLOCK;
}

bool setMembership(const FileDescriptor &socket, int option, const QString &group,
                   unsigned interfaceIndex)
{
    const ip_mreqn membership{.imr_multiaddr = parsed(group).value_or(in_addr{}),
                              .imr_address = {},
                              .imr_ifindex = int(interfaceIndex)};
    return setOption(socket, IPPROTO_IP, option, membership);
}

} // namespace

bool isIPv4Address(const QString &host)
{
    return parsed(host).has_value();
}

FileDescriptor openUdpSocket()
{
    return FileDescriptor(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

bool bindToSharedPort(const FileDescriptor &socket, std::uint16_t port)
{
    // Without these the bind fails where the port is shared, and says so.
    static_cast<void>(setOption(socket, SOL_SOCKET, SO_REUSEADDR, 1));
    static_cast<void>(setOption(socket, SOL_SOCKET, SO_REUSEPORT, 1));
    const sockaddr_in address = endpoint({.s_addr = htonl(INADDR_ANY)}, port);
    return ::bind(socket.get(), generic(address), sizeof address) == 0;
}

void askForReceiveBuffer(const FileDescriptor &socket, int bytes)
{
    static_cast<void>(setOption(socket, SOL_SOCKET, SO_RCVBUF, bytes));
}

bool joinMulticastGroup(const FileDescriptor &socket, const QString &group, unsigned interfaceIndex)
{
    return setMembership(socket, IP_ADD_MEMBERSHIP, group, interfaceIndex) || errno == EADDRINUSE;
}

void leaveMulticastGroup(const FileDescriptor &socket, const QString &group,
                         unsigned interfaceIndex)
{
    static_cast<void>(setMembership(socket, IP_DROP_MEMBERSHIP, group, interfaceIndex));
}

std::optional<ReceivedDatagram> receiveDatagram(const FileDescriptor &socket,
                                                std::span<std::byte> buffer)
{
    sockaddr_in source{};
    socklen_t length = sizeof source;
    const ssize_t size = uninterrupted([&] {
        return ::recvfrom(socket.get(), buffer.data(), buffer.size(), 0,
                          reinterpret_cast<sockaddr *>(&source), &length);
    });
    if (size < 0)
        return std::nullopt;
    return ReceivedDatagram{.size = std::size_t(size), .host = dotted(source.sin_addr)};
}

bool sendDatagram(const FileDescriptor &socket, const QByteArray &data, const QString &host,
                  std::uint16_t port)
{
    const auto address = reachable(host);
    if (!address)
        return false;
    const sockaddr_in to = endpoint(*address, port);
    return uninterrupted([&] {
               return ::sendto(socket.get(), data.constData(), std::size_t(data.size()),
                               MSG_NOSIGNAL, generic(to), sizeof to);
           })
           == data.size();
}

FileDescriptor beginConnection(const QString &host, std::uint16_t port)
{
    const auto address = reachable(host);
    FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!address || !socket.isOpen())
        return {};
    const sockaddr_in to = endpoint(*address, port);
    if (::connect(socket.get(), generic(to), sizeof to) != 0 && errno != EINPROGRESS)
        return {};
    return socket;
}

int connectionError(const FileDescriptor &socket)
{
    int error = 0;
    socklen_t length = sizeof error;
    return ::getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &error, &length) == 0 ? error : errno;
}

std::optional<QString> sourceAddressTo(const QString &host)
{
    const auto address = reachable(host);
    const FileDescriptor socket = openUdpSocket();
    if (!address || !socket.isOpen())
        return std::nullopt;
    constexpr std::uint16_t discardPort = 9; // any would do
    const sockaddr_in to = endpoint(*address, discardPort);
    sockaddr_in source{};
    socklen_t length = sizeof source;
    if (::connect(socket.get(), generic(to), sizeof to) != 0
        || ::getsockname(socket.get(), reinterpret_cast<sockaddr *>(&source), &length) != 0)
        return std::nullopt;
    return dotted(source.sin_addr);
}

std::optional<std::size_t> sendBytes(const FileDescriptor &socket, std::span<const std::byte> data)
{
    const ssize_t size =
        uninterrupted([&] { return ::send(socket.get(), data.data(), data.size(), MSG_NOSIGNAL); });
    if (size < 0)
        return wouldBlock() ? std::optional(std::size_t{0}) : std::nullopt;
    return std::size_t(size);
}

std::optional<std::size_t> receiveBytes(const FileDescriptor &socket, std::span<std::byte> buffer)
{
    const ssize_t size =
        uninterrupted([&] { return ::recv(socket.get(), buffer.data(), buffer.size(), 0); });
    if (size > 0)
        return std::size_t(size);
    return size < 0 && wouldBlock() ? std::optional(std::size_t{0}) : std::nullopt;
}

} // namespace vorn
