// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/monotonic_clock.h"
#include "live/live_packet.h"

#include <QString>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

namespace vorn {

/// What a snapshot may bring about beside going on where its camera was.
struct SnapshotPermissions {
    bool allowSessionSwitch = false; ///< begin a session
    bool allowLegacyReset = false;   ///< set a legacy sender's clock back
};

/// Judges whether a snapshot of one camera is newer than those accepted before. A sender of today
/// stamps session and sequence; a legacy one stamps its clock, or nothing.
class PeerSnapshotOrder {
public:
    /// Sessions that were left and are refused ever since; the oldest is forgotten beyond.
    static constexpr std::size_t maximumRetired = 16;
    /// A legacy sender whose clock went back is heard again after this long.
    static constexpr std::chrono::milliseconds legacyResetAfter{6500};

    /// True when the snapshot is newer, which it is then remembered for.
    [[nodiscard]] bool accept(const LiveCameraPacket &packet, MonotonicClock::time_point now,
                              SnapshotPermissions permissions);

private:
    [[nodiscard]] bool acceptInSession(const LiveCameraPacket &packet,
                                       SnapshotPermissions permissions);
    [[nodiscard]] bool acceptLegacy(const LiveCameraPacket &packet, MonotonicClock::time_point now,
                                    SnapshotPermissions permissions);

    std::optional<QString> m_session; ///< a UUID in lower case
    std::int64_t m_highest = -1;      ///< sequence accepted last in the session
    std::deque<QString> m_retired;    ///< oldest first
    std::int64_t m_legacySent = -1;   ///< the sender's milliseconds accepted last
    std::optional<MonotonicClock::time_point> m_lastAccepted;
};

} // namespace vorn
