// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/monotonic_clock.h"
#include "live/camera_probe.h"

#include <QObject>
#include <QString>

#include <chrono>
#include <cstddef>
#include <map>
#include <vector>

namespace vorn {

/// Tries whether cameras that are heard can be reached where their previews come from. Context: the
/// thread it is made on.
class ReachCheck : public QObject {
    Q_OBJECT
public:
    /// Between two tries of one host.
    static constexpr std::chrono::seconds pause{5};
    static constexpr std::size_t maximumHosts = 16;

    /// Tries the hosts whose turn it is, the first `maximumHosts` of these; forgets all others.
    void follow(std::vector<QString> hosts);
    /// How far the last try of each host came.
    [[nodiscard]] std::map<QString, Reach> results() const;

private:
    struct Tried {
        Reach reach = Reach::untried;
        MonotonicClock::time_point begun;
        bool isUnderWay = false;
    };

    void ask(const QString &host, MonotonicClock::time_point now);

    std::map<QString, Tried> m_hosts;
};

} // namespace vorn
