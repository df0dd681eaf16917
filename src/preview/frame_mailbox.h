// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "preview/preview_client.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>
#include <utility>

namespace vorn {

/// What has become of the frames of one stream, over all of its runs.
struct StreamStatistics {
    std::uint64_t received = 0;
    std::uint64_t replaced = 0; ///< by a newer frame, before anyone could see them
    std::uint64_t published = 0;
    /// The longest time between two frames while the stream was wanted.
    std::chrono::nanoseconds maximumGap{0};

    bool operator==(const StreamStatistics &) const = default;
};

/// Hands the frames of one stream on to another thread, one at a time: while one is under way,
/// the newest of those that follow waits, and no other. Who posts a frame says so when it has
/// been taken.
class FrameMailbox {
public:
    /// The frame, to be posted now; none when it has to wait.
    [[nodiscard]] std::optional<PreviewFrame> put(PreviewFrame frame)
    {
        if (m_lastReceivedAt)
            m_statistics.maximumGap = std::max<std::chrono::nanoseconds>(
                m_statistics.maximumGap, frame.receivedAt - *m_lastReceivedAt);
        m_lastReceivedAt = frame.receivedAt;
        ++m_statistics.received;
        if (m_waiting)
            ++m_statistics.replaced;
        m_waiting = std::move(frame);
        return m_isUnderWay ? std::nullopt : post();
    }

    /// The frame under way has been taken. The next one to be posted, if there is one.
    [[nodiscard]] std::optional<PreviewFrame> taken()
    {
        m_isUnderWay = false;
        return m_waiting ? post() : std::nullopt;
    }

    /// The stream has stopped: what waits is stale, and the time until it runs again is no gap.
    void clear()
    {
        m_waiting.reset();
        m_lastReceivedAt.reset();
    }

    [[nodiscard]] const StreamStatistics &statistics() const { return m_statistics; }

private:
    std::optional<PreviewFrame> post()
    {
        m_isUnderWay = true;
        ++m_statistics.published;
        return std::exchange(m_waiting, std::nullopt);
    }

    std::optional<PreviewFrame> m_waiting;
    bool m_isUnderWay = false;
    std::optional<MonotonicClock::time_point> m_lastReceivedAt;
    StreamStatistics m_statistics;
};

} // namespace vorn
