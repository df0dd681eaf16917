// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/monotonic_clock.h"
#include "store/store_ended.h"

#include <QCoreApplication>
#include <QMetaObject>

#include <chrono>
#include <functional>
#include <stop_token>
#include <utility>

namespace vorn {

/// For long work on another thread, to be called with each step of it: throws StoreEnded once
/// `stop` is asked for, and lets `show` know on the UI thread, as often as a bar needs it.
template <class Progress>
[[nodiscard]] std::function<void(const Progress &)>
progressReport(std::stop_token stop, std::function<void(const Progress &)> show)
{
    return [stop = std::move(stop), show = std::move(show),
            last = MonotonicClock::time_point()](const Progress &now) mutable {
        // About three frames of a screen: quick enough for a bar, cheap for the interface.
        constexpr std::chrono::milliseconds interval{50};
        throwIfEnded(stop);
        const auto time = MonotonicClock::now();
        if (time - last < interval)
            return;
        last = time;
        QMetaObject::invokeMethod(qApp, [show, now] { show(now); });
    };
}

} // namespace vorn
