// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/monotonic_clock.h"

#include <QString>

#include <cstdint>
#include <deque>

namespace vorn {

/// "812 MB", "1.24 GB": three digits and a decimal unit; bytes below one kilobyte are counted out.
[[nodiscard]] QString byteText(double bytes);
/// "0:07", "12:40", "1:02:03".
[[nodiscard]] QString clockText(std::chrono::seconds duration);
/// "306 MB/s"; a dash while the rate is 0 or unknown.
[[nodiscard]] QString rateText(double bytesPerSecond);
/// "0:26 left", rounded up; a dash while nothing can be said.
[[nodiscard]] QString timeLeftText(double remainingBytes, double bytesPerSecond);

/// How fast bytes come, over the last seconds. Also told when nothing came, it falls to 0.
class RateMeter {
public:
    void restart(MonotonicClock::time_point now, std::int64_t completedBytes);
    void add(MonotonicClock::time_point now, std::int64_t completedBytes);
    /// Bytes per second; 0 until the measured stretch is long enough.
    [[nodiscard]] double rate() const;

private:
    struct Sample {
        MonotonicClock::time_point time;
        std::int64_t bytes = 0;
    };
    std::deque<Sample> m_samples;
};

} // namespace vorn
