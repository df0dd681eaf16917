// SPDX-License-Identifier: Apache-2.0

#include "live/peer_snapshot_order.h"

#include "base/text_form.h"
#include "live/json_values.h"

#include <algorithm>

namespace vorn {
namespace {

/// A count from 0 to 2^53 - 1, the integers that every JSON reader holds exactly (RFC 8259
/// section 6).
std::optional<std::int64_t> counter(const QJsonValue &value)
{
    const std::optional<std::int64_t> integer = exactInteger(value);
    return integer && *integer >= 0 && *integer < (std::int64_t{1} << 53) ? integer : std::nullopt;
}

} // namespace

bool PeerSnapshotOrder::accept(const LiveCameraPacket &packet, MonotonicClock::time_point now,
                               SnapshotPermissions permissions)
{
    const bool isAccepted = packet.hasSessionID() ? acceptInSession(packet, permissions)
                                                  : acceptLegacy(packet, now, permissions);
    if (isAccepted)
        m_lastAccepted = now;
    return isAccepted;
}

bool PeerSnapshotOrder::acceptInSession(const LiveCameraPacket &packet,
                                        SnapshotPermissions permissions)
{
    const std::optional<QString> session = canonicalUuid(packet.sessionID.toString());
    const std::optional<std::int64_t> sequence = counter(packet.sequence);
    if (!session || !sequence || std::ranges::find(m_retired, *session) != m_retired.end())
        return false;
    if (session == m_session) {
        if (*sequence <= m_highest)
            return false;
    } else {
        if (!permissions.allowSessionSwitch)
            return false;
        if (m_session) {
            if (m_retired.size() >= maximumRetired)
                m_retired.pop_front();
            m_retired.push_back(*m_session);
        }
        m_session = session;
    }
    m_highest = *sequence;
    return true;
}

bool PeerSnapshotOrder::acceptLegacy(const LiveCameraPacket &packet, MonotonicClock::time_point now,
                                     SnapshotPermissions permissions)
{
    // A sequence without a session is malformed; who has spoken in a session goes on in sessions.
    if (packet.hasSequence() || m_session)
        return false;
    if (!packet.hasSentMs())
        return permissions.allowLegacyReset;
    const std::optional<std::int64_t> sent = counter(packet.sentMs);
    if (!sent)
        return false;
    const bool mayReset = permissions.allowLegacyReset
                          && (!m_lastAccepted || now - *m_lastAccepted > legacyResetAfter);
    if (m_legacySent > *sent && !mayReset)
        return false;
    m_legacySent = *sent;
    return true;
}

} // namespace vorn
