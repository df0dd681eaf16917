// SPDX-License-Identifier: Apache-2.0

#include "live/phone_clocks.h"

#include "base/text_form.h"
#include "live/camera_list.h"
#include "live/json_values.h"

#include <algorithm>

namespace vorn {

std::optional<PhoneClockReading> PhoneClocks::hear(const LiveCameraPacket &packet,
                                                   const QString &host,
                                                   MonotonicClock::time_point at)
{
    const QString id = packet.cameraID();
    if (m_clocks.size() >= qsizetype(CameraList::maximumCameras) && !m_clocks.contains(id))
        m_clocks.erase(std::ranges::min_element(m_clocks, {}, &Heard::last));
    Heard &heard = m_clocks[id];
    heard.last = at;
    const auto session = canonicalUuid(packet.sessionID.toString());
    return heard.clock.hear(
        {.sentMs = exactInteger(packet.sentMs),
         .session = session.value_or(QString()),
         .host = host,
         .recordingSinceMs = intValue(packet.payload.value(u"recordingSinceMs"))},
        at);
}

} // namespace vorn
