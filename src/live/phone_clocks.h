// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/live_packet.h"
#include "live/phone_clock.h"

#include <QHash>

namespace vorn {

/// The clocks of the phones that are heard. Bounded as the list of cameras is: beyond, the one
/// heard least recently is forgotten, which is none that is listed.
class PhoneClocks {
public:
    /// Takes a datagram's status that was accepted, received at `at`, and tells what is known then.
    std::optional<PhoneClockReading> hear(const LiveCameraPacket &packet, const QString &host,
                                          MonotonicClock::time_point at);

private:
    struct Heard {
        PhoneClock clock;
        MonotonicClock::time_point last;
    };
    QHash<QString, Heard> m_clocks;
};

} // namespace vorn
