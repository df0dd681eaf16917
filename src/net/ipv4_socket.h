// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/files.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// IPv4 sockets, none of which ever blocks. A host is a dotted address; names are not looked up.
/// Nothing is sent or opened to a host that is not nearby (see isNearby).
namespace vorn {

struct ReceivedDatagram {
    std::size_t size = 0; ///< the buffer's, when the datagram was longer
    QString host;
};

[[nodiscard]] bool isIPv4Address(const QString &host);

/// A UDP socket; not open when the system has none to give.
[[nodiscard]] FileDescriptor openUdpSocket();

/// Binds to a port on all addresses, together with others that are willing to share it. False when
/// the port is not to be had.
[[nodiscard]] bool bindToSharedPort(const FileDescriptor &socket, std::uint16_t port);

/// Asks for room for waiting datagrams; the system may give less.
void askForReceiveBuffer(const FileDescriptor &socket, int bytes);

/// Joins a multicast group on an interface. True when it is joined, also when it was already.
bool joinMulticastGroup(const FileDescriptor &socket, const QString &group,
                        unsigned interfaceIndex);

/// Leaves the group there, also when the interface itself has gone: a socket has few memberships.
void leaveMulticastGroup(const FileDescriptor &socket, const QString &group,
                         unsigned interfaceIndex);

/// The next datagram that waits; absent when none does.
[[nodiscard]] std::optional<ReceivedDatagram> receiveDatagram(const FileDescriptor &socket,
                                                              std::span<std::byte> buffer);

/// False unless the host is nearby and the whole datagram was taken by the system.
[[nodiscard]] bool sendDatagram(const FileDescriptor &socket, const QByteArray &data,
                                const QString &host, std::uint16_t port);

/// A TCP socket whose connection is under way: it becomes writable when that has come to an end.
/// Not open when the host is not nearby, or it failed at once.
[[nodiscard]] FileDescriptor beginConnection(const QString &host, std::uint16_t port);

/// Why the connection that was under way does not stand, as the system's error number; 0 when it
/// does.
[[nodiscard]] int connectionError(const FileDescriptor &socket);

/// This computer's address on the way to a host, as the system would choose it now, dotted; absent
/// when it knows no way. Nothing is sent.
[[nodiscard]] std::optional<QString> sourceAddressTo(const QString &host);

/// Bytes sent at once; absent when the connection is broken. Never raises SIGPIPE.
[[nodiscard]] std::optional<std::size_t> sendBytes(const FileDescriptor &socket,
                                                   std::span<const std::byte> data);

/// Bytes received, 0 when none wait; absent when the connection has ended or is broken.
[[nodiscard]] std::optional<std::size_t> receiveBytes(const FileDescriptor &socket,
                                                      std::span<std::byte> buffer);

} // namespace vorn
