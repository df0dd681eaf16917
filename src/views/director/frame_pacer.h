// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/monotonic_clock.h"

#include <QObject>
#include <QTimer>

#include <algorithm>
#include <chrono>

namespace vorn {

/// The beat at which new preview frames are drawn. Each repaint of a window costs about the same
/// whether one frame is new or six, so those that come close together share one. Context: UI
/// thread.
class FramePacer : public QObject {
    Q_OBJECT
public:
    /// A frame at 30 a second, which is what phones send.
    static constexpr std::chrono::milliseconds interval{33};

    FramePacer()
    {
        m_timer.setSingleShot(true);
        m_timer.setTimerType(Qt::PreciseTimer);
        connect(&m_timer, &QTimer::timeout, this, [this] {
            m_lastBeat = MonotonicClock::now();
            Q_EMIT beat();
        });
    }

    /// Something is new: a beat comes, at once if the last one is long ago.
    void request()
    {
        if (m_timer.isActive())
            return;
        const auto next = m_lastBeat + interval - MonotonicClock::now();
        m_timer.start(std::max(std::chrono::milliseconds::zero(),
                               std::chrono::ceil<std::chrono::milliseconds>(next)));
    }

Q_SIGNALS:
    void beat();

private:
    QTimer m_timer;
    MonotonicClock::time_point m_lastBeat;
};

} // namespace vorn
