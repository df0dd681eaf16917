// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/monotonic_clock.h"
#include "live/live_packet.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace vorn {

/// How many datagrams had which fate.
struct DatagramCounts {
    std::array<std::uint64_t, datagramFates> byFate{};

    [[nodiscard]] std::uint64_t of(DatagramFate fate) const { return byFate[std::size_t(fate)]; }
    bool operator==(const DatagramCounts &) const = default;
};

/// Counts datagrams by the second, and forgets them after a minute.
class DatagramTally {
public:
    void count(DatagramFate fate, MonotonicClock::time_point now);
    /// Those of the last sixty seconds, the one that runs among them.
    [[nodiscard]] DatagramCounts lastMinute(MonotonicClock::time_point now) const;

private:
    struct Second {
        std::chrono::seconds begun{-1}; ///< on the clock; whatever was counted earlier is void
        DatagramCounts counts;
    };
    std::array<Second, 60> m_seconds;
};

} // namespace vorn
