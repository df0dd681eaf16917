// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/live_camera_discovery.h"
#include "tcp_server.h"

#include <optional>

namespace vorn {

/// A UDP socket of the phone at `host`, on the status port.
[[nodiscard]] FileDescriptor phoneSocket(const QString &host);

/// Sends to every computer that listens for statuses.
void sendToGroup(const FileDescriptor &phone, const QByteArray &data);
void sendTo(const FileDescriptor &phone, const QString &host, const QByteArray &data);

/// The next datagram, waited for up to five seconds; empty when none came.
[[nodiscard]] QByteArray receivedBy(const FileDescriptor &phone);

/// The phone at `host` as a server on the identity port.
class PhoneServer : public TcpServer {
public:
    PhoneServer(const QString &host, Serve serve);
};

/// Answers the request for who a phone is, with a length and a body.
[[nodiscard]] TcpServer::Serve answering(const QByteArray &body);

/// Most hosts of the lab's network are at home and refuse to talk, for as long as this lives: a
/// scan, which waits for those that are not, is quick then.
class LabNeighbours {
public:
    LabNeighbours();
    ~LabNeighbours();
};

/// A status of camera `id`; `stamps` begins with a comma, as sequenced() makes it.
[[nodiscard]] QByteArray status(const QString &id, int battery, const QByteArray &stamps = {});
[[nodiscard]] QByteArray sequenced(const char *sessionId, int sequence);

[[nodiscard]] const LiveCamera *find(const LiveCameraDiscovery &discovery, const QString &id);
[[nodiscard]] std::optional<std::int64_t> batteryOf(const LiveCameraDiscovery &discovery,
                                                    const QString &id);

} // namespace vorn
