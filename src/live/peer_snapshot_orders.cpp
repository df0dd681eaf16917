// SPDX-License-Identifier: Apache-2.0

#include "live/peer_snapshot_orders.h"

#include "base/text_form.h"
#include "live/wire_text.h"

namespace vorn {

bool PeerSnapshotOrders::acceptDatagram(const LiveCameraPacket &packet,
                                        MonotonicClock::time_point now)
{
    if (!acceptSnapshot(packet, now, {.allowSessionSwitch = true, .allowLegacyReset = true}))
        return false;
    noteRevision(packet.cameraID());
    return true;
}

bool PeerSnapshotOrders::acceptProbe(const LiveCameraPacket &packet,
                                     std::uint64_t probeStartRevision,
                                     MonotonicClock::time_point now)
{
    const auto heard = m_lastUdpRevision.constFind(packet.cameraID());
    if (heard == m_lastUdpRevision.cend())
        return acceptSnapshot(packet, now, {.allowSessionSwitch = true, .allowLegacyReset = true});
    return *heard <= probeStartRevision
           && acceptSnapshot(packet, now, {.allowSessionSwitch = false, .allowLegacyReset = false});
}

bool PeerSnapshotOrders::acceptSnapshot(const LiveCameraPacket &packet,
                                        MonotonicClock::time_point now,
                                        SnapshotPermissions permissions)
{
    const QString id = packet.cameraID();
    if (!isBoundedText(id, maximumIdBytes))
        return false;
    auto order = m_orders.find(id);
    if (order == m_orders.end()) {
        if (m_orderKeys.size() >= maximumPeers) {
            m_orders.remove(m_orderKeys.front());
            m_orderKeys.pop_front();
        }
        m_orderKeys.push_back(id);
        order = m_orders.insert(id, {});
    }
    return order->accept(packet, now, permissions);
}

void PeerSnapshotOrders::noteRevision(const QString &cameraID)
{
    const std::uint64_t revision = ++m_udpRevision;
    std::uint64_t &last = m_lastUdpRevision[cameraID];
    m_camerasByRevision.erase(last); // revisions begin at 1
    last = revision;
    m_camerasByRevision.emplace_hint(m_camerasByRevision.end(), revision, cameraID);
    if (m_camerasByRevision.size() > maximumRevisions) {
        const auto oldest = m_camerasByRevision.begin();
        m_lastUdpRevision.remove(oldest->second);
        m_camerasByRevision.erase(oldest);
    }
}

} // namespace vorn
