// SPDX-License-Identifier: Apache-2.0

#include "live/datagram_tally.h"

namespace vorn {
namespace {

std::chrono::seconds secondOf(MonotonicClock::time_point time)
{
    return std::chrono::floor<std::chrono::seconds>(time.time_since_epoch());
}

} // namespace

void DatagramTally::count(DatagramFate fate, MonotonicClock::time_point now)
{
    const std::chrono::seconds begun = secondOf(now);
    Second &second = m_seconds[std::size_t(begun.count()) % m_seconds.size()];
    if (second.begun != begun)
        second = {.begun = begun, .counts = {}};
    ++second.counts.byFate[std::size_t(fate)];
}

DatagramCounts DatagramTally::lastMinute(MonotonicClock::time_point now) const
{
    const std::chrono::seconds oldest = secondOf(now) - std::chrono::seconds(m_seconds.size());
    DatagramCounts sum;
    for (const Second &second : m_seconds) {
        if (second.begun <= oldest)
            continue;
        for (std::size_t fate = 0; fate < datagramFates; ++fate)
            sum.byFate[fate] += second.counts.byFate[fate];
    }
    return sum;
}

} // namespace vorn
