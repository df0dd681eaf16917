// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/monotonic_clock.h"

#include <QCoreApplication>
#include <QTimer>

#include <functional>

namespace vorn {

/// Works the event loop until `condition` holds, which is looked at after each event; false when it
/// does not come to hold within `limit`.
inline bool workUntil(const std::function<bool()> &condition,
                      std::chrono::seconds limit = std::chrono::seconds(30))
{
    const auto start = MonotonicClock::now();
    QTimer end;
    end.setSingleShot(true);
    end.start(limit);
    while (!condition()) {
        if (MonotonicClock::now() - start > limit)
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace vorn
