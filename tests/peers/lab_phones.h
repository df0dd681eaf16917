#pragma once

#include "base/files.h"
#include "live/live_camera_discovery.h"

#include <QByteArray>
#include <QString>

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <thread>

namespace vorn {

/// Runs `work` on the phones' side of the lab. A socket stays on the side where it was made.
void onPhonesSide(const std::function<void()> &work);

/// A UDP socket of the phone at `host`, on the status port unless `port` says otherwise.
[[nodiscard]] FileDescriptor phoneSocket(const QString &host, std::uint16_t port = 45454);

/// Sends to every computer that listens for statuses.
void sendToGroup(const FileDescriptor &phone, const QByteArray &data);
void sendTo(const FileDescriptor &phone, const QString &host, const QByteArray &data);

/// The next datagram, waited for up to five seconds; empty when none came.
[[nodiscard]] QByteArray receivedBy(const FileDescriptor &phone);

/// The phone at `host` as a server on the identity port: hands each connection, which ends
/// afterwards, to `serve` on a thread of its own.
class PhoneServer {
public:
    PhoneServer(const QString &host, std::function<void(int connection)> serve);
    ~PhoneServer();

    [[nodiscard]] int connections() const { return m_connections; }

private:
    FileDescriptor m_listener;
    std::atomic_int m_connections = 0;
    std::thread m_thread;
};

/// Waits for the request and answers with a length and a body.
void serveIdentity(int connection, const QByteArray &body);

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
