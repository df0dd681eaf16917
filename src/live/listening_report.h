// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/monotonic_clock.h"
#include "live/camera_probe.h"
#include "live/datagram_tally.h"
#include "net/network_interfaces.h"

#include <QString>

#include <cstddef>
#include <map>
#include <optional>
#include <vector>

namespace vorn {

/// A link on which cameras are listened for.
struct ListenedLink {
    NetworkLink link;
    bool isJoined = false;            ///< the multicast group of the cameras
    MonotonicClock::time_point since; ///< when it came up, as far as it was seen

    bool operator==(const ListenedLink &) const = default;
};

/// One round of asking every address nearby.
struct ScanReport {
    MonotonicClock::time_point begun;
    bool isRunning = false;
    std::size_t asked = 0;    ///< addresses; none where no link is on a private network
    std::size_t answered = 0; ///< by a camera

    bool operator==(const ScanReport &) const = default;
};

/// What the network's side of the discovery knows of itself.
struct ListeningReport {
    MonotonicClock::time_point made;
    std::optional<MonotonicClock::time_point> listeningSince; ///< absent while the port is not open
    std::vector<ListenedLink> links;
    DatagramCounts datagrams; ///< of the last minute
    std::optional<ScanReport> lastScan;
    std::map<QString, Reach> reach; ///< by the host of each camera that was asked for

    bool operator==(const ListeningReport &) const = default;
};

} // namespace vorn
