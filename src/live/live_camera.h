// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/phone_clock.h"
#include "live/preview_records.h"

#include <QString>

#include <chrono>
#include <cstdint>
#include <optional>

namespace vorn {

/// What the computer's calendar says; it jumps when somebody sets the clock.
using WallTime = std::chrono::system_clock::time_point;

/// The lower end of a level meter.
inline constexpr double silenceDB = -60.0;

/// One phone camera as its last status described it.
struct LiveCamera {
    QString id;
    QString name; ///< also the sort key
    QString role = QStringLiteral("CAMERA");
    QString host; ///< dotted IPv4 address from which the last accepted status came
    bool recording = false;
    std::int64_t recordingSinceMs = 0; ///< the camera's clock
    QString takeId;
    std::optional<std::int64_t> battery; ///< as the camera sends it
    std::optional<double> freeGB;
    double leftDB = silenceDB; ///< silence when unknown
    double rightDB = silenceDB;
    std::int64_t channels = 0;
    QString quality = QStringLiteral("—");
    QString aspect = QStringLiteral("—"); ///< such as "16:9"
    std::int64_t previewRotation = 0;     ///< degrees
    WallTime lastSeen;
    PreviewCapabilities previewCapabilities;
    PreviewTransportStatus previewTransport;
    std::optional<PhoneClockReading> clock; ///< told by its own datagrams

    bool operator==(const LiveCamera &) const = default;

    static constexpr std::chrono::milliseconds offlineAfter{6500};
    static constexpr std::chrono::milliseconds forgetAfter{30000};

    /// Another desk on the network, not a camera.
    [[nodiscard]] bool isDirector() const { return role.toUpper() == u"DIRECTOR"; }
    [[nodiscard]] bool isOnline(WallTime now) const { return now - lastSeen < offlineAfter; }
    [[nodiscard]] bool isExpired(WallTime now) const { return now - lastSeen >= forgetAfter; }
    /// A camera that falls silent while it records stops showing as recording.
    [[nodiscard]] bool displaysRecording(WallTime now) const { return isOnline(now) && recording; }
};

} // namespace vorn
