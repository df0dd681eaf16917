// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/monotonic_clock.h"
#include "live/live_camera.h"
#include "preview/frame_mailbox.h"
#include "preview/stream_key.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

/// What vorn-probe prints, for people and for scripts. Names are made fit for a terminal.
namespace vorn {

/// How long something took, over and over: to 0.1 ms, in the same memory however often.
class Delays {
public:
    void add(std::chrono::nanoseconds delay);
    /// What this share of them did not exceed, 0 to 1.
    [[nodiscard]] std::optional<std::chrono::nanoseconds> atMost(double share) const;

private:
    static constexpr std::chrono::microseconds step{100};
    std::vector<std::uint32_t> m_counts =
        std::vector<std::uint32_t>(20'000); ///< the last: 2 s or more
    std::uint64_t m_count = 0;
};

/// What the probe itself measures of one stream.
struct StreamMeasurement {
    std::uint64_t pictures = 0;
    MonotonicClock::time_point firstAt;
    MonotonicClock::time_point lastAt;
    /// From the moment that stands in a picture to its swap, of those that have one.
    Delays latencies;

    /// Counts a picture that was swapped in now; its comment may tell when it was sent.
    void add(const QByteArray &comment, MonotonicClock::time_point now);

    /// Pictures a second between the first and the last; 0 with fewer than two.
    [[nodiscard]] double picturesPerSecond() const;
};

/// When the picture with this comment was sent, by the simulated phones' own word:
/// "vorn-rig FRAME NANOSECONDS" of the monotonic clock. Absent for any other comment.
[[nodiscard]] std::optional<MonotonicClock::time_point> sentAt(const QByteArray &comment);

/// One line for each camera, in list order; no levels, nor anything else that moves all the time.
[[nodiscard]] QString camerasText(const std::vector<LiveCamera> &cameras, WallTime now);

/// One line for each stream.
[[nodiscard]] QString streamsText(const std::map<StreamKey, StreamMeasurement> &measurements,
                                  const std::map<StreamKey, StreamStatistics> &statistics);

/// One line of how late the turns of the event loop were.
[[nodiscard]] QString turnsText(const Delays &turns);

} // namespace vorn
