// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/peer_snapshot_order.h"

#include <QHash>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>

namespace vorn {

/// The order of every camera's snapshots, on both ways that they come: the camera's own datagrams,
/// and answers to our probes. Bounded, whatever ids the network makes up.
class PeerSnapshotOrders {
public:
    /// Cameras whose order is remembered; the one met first is forgotten beyond.
    static constexpr std::size_t maximumPeers = 128;
    /// Cameras of which is known when they were heard by datagram; the one heard least recently is
    /// forgotten beyond.
    static constexpr std::size_t maximumRevisions = 65'536;

    /// Judges a datagram's snapshot.
    [[nodiscard]] bool acceptDatagram(const LiveCameraPacket &packet,
                                      MonotonicClock::time_point now);
    /// Judges a snapshot that answers a probe begun at `probeStartRevision`. A camera that has been
    /// heard by datagram starts sessions and sets clocks back by datagram only, and a newer
    /// datagram stands.
    [[nodiscard]] bool acceptProbe(const LiveCameraPacket &packet, std::uint64_t probeStartRevision,
                                   MonotonicClock::time_point now);
    /// Counts accepted datagrams.
    [[nodiscard]] std::uint64_t udpRevision() const { return m_udpRevision; }

private:
    [[nodiscard]] bool acceptSnapshot(const LiveCameraPacket &packet,
                                      MonotonicClock::time_point now,
                                      SnapshotPermissions permissions);
    void noteRevision(const QString &cameraID);

    QHash<QString, PeerSnapshotOrder> m_orders;
    std::deque<QString> m_orderKeys; ///< of m_orders, oldest first
    std::uint64_t m_udpRevision = 0;
    QHash<QString, std::uint64_t> m_lastUdpRevision;
    std::map<std::uint64_t, QString> m_camerasByRevision; ///< the same, oldest first
};

} // namespace vorn
