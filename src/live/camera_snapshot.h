// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/live_camera.h"
#include "live/live_packet.h"

#include <QString>

#include <cstdint>

namespace vorn {

/// What one status says of its camera: the fields that were there with the right type.
class CameraSnapshot {
public:
    /// `host` is the dotted IPv4 address that the packet came from.
    CameraSnapshot(const LiveCameraPacket &packet, QString host);

    [[nodiscard]] const QString &id() const { return m_id; }

    /// Says what is known of the phone's clock, if only that nothing is.
    void setClock(const std::optional<PhoneClockReading> &clock);

    /// Takes over what `newer`, of the same camera, says.
    void merge(CameraSnapshot newer);
    /// Writes what it says, and the host, into the camera's record; what it does not say stays.
    void applyTo(LiveCamera &camera) &&;

    bool operator==(const CameraSnapshot &) const = default;

private:
    QString m_id;
    LiveCamera m_values;
    std::uint32_t m_said = 0; ///< a bit for each field that it says
};

} // namespace vorn
