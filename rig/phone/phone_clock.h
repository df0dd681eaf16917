// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/monotonic_clock.h"

#include <QtGlobal>

#include <chrono>

namespace vorn::rig {

/// A phone's own clock: some time off from this computer's, and perhaps fast or slow against it.
/// It runs on the monotonic clock, so setting the computer's time moves no phone, and its moment is
/// computed from one point, so no error adds up.
class PhoneClock {
public:
    /// Sets it to this computer's time and so much more. Its rate stays.
    void set(std::chrono::milliseconds offset)
    {
        m_point = MonotonicClock::now();
        m_pointTime = std::chrono::system_clock::now().time_since_epoch() + offset;
    }

    /// From now on it counts so many seconds in a second. It does not step.
    void setRate(double rate)
    {
        const auto now = MonotonicClock::now();
        m_pointTime = time(now);
        m_point = now;
        m_rate = rate;
    }
    [[nodiscard]] double rate() const { return m_rate; }

    /// What it shows at that moment, also one that is yet to come, in milliseconds since 1970.
    [[nodiscard]] qint64 ms(MonotonicClock::time_point at) const
    {
        return std::chrono::floor<std::chrono::milliseconds>(time(at)).count();
    }

private:
    [[nodiscard]] std::chrono::nanoseconds time(MonotonicClock::time_point at) const
    {
        const std::chrono::duration<double, std::nano> elapsed = at - m_point;
        return m_pointTime + std::chrono::round<std::chrono::nanoseconds>(elapsed * m_rate);
    }

    MonotonicClock::time_point m_point;
    std::chrono::nanoseconds m_pointTime{}; ///< what it shows at m_point, since 1970
    double m_rate = 1;
};

} // namespace vorn::rig
