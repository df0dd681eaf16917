#pragma once

#include "live/live_camera.h"
#include "live/live_packet.h"

#include <QString>

#include <cstdint>
#include <optional>

namespace vorn {

/// What one status says of its camera: the fields that were there with the right type.
struct CameraSnapshot {
    QString id;   ///< 1 to maximumIdBytes bytes of UTF-8
    QString host; ///< dotted IPv4 address it came from
    std::optional<QString> name;
    std::optional<QString> role;
    std::optional<bool> recording;
    std::optional<std::int64_t> recordingSinceMs;
    std::optional<QString> takeId;
    std::optional<std::int64_t> battery;
    std::optional<double> freeGB;
    std::optional<double> leftDB;
    std::optional<double> rightDB;
    std::optional<std::int64_t> channels;
    std::optional<QString> quality;
    std::optional<QString> aspect;
    std::optional<std::int64_t> previewRotation;
    std::optional<PreviewCapabilities> previewCapabilities;
    std::optional<PreviewTransportStatus> previewTransport;

    bool operator==(const CameraSnapshot &) const = default;

    /// Takes over what `newer`, of the same camera, says.
    void merge(CameraSnapshot newer);
    /// Writes what it says into the camera's record; what it does not say stays.
    void applyTo(LiveCamera &camera) &&;
};

[[nodiscard]] CameraSnapshot decodeSnapshot(const LiveCameraPacket &packet, const QString &host);

} // namespace vorn
