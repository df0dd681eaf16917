// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QJsonValue>
#include <QString>

#include <cstdint>
#include <optional>
#include <set>

namespace vorn {

// What a camera says of its previews. Sets are ordered, so that what is shown of them does not
// jump.

/// What one of the sets below may hold, several times what a camera has to say: a list longer than
/// this reads as none, lest packets made of nothing else fill the memory.
inline constexpr qsizetype maximumPreviewSetSize = 64;

/// What a camera can deliver. The empty record belongs to a camera that never said.
struct PreviewCapabilities {
    std::optional<std::int64_t> version;
    std::set<QString> transports; ///< lower case
    std::set<QString> codecs;     ///< lower case
    std::set<std::int64_t> requestModes;
    std::set<std::int64_t> persistentModes;
    std::optional<double> wifiBandGHz;
    std::optional<double> usableMbps;

    bool operator==(const PreviewCapabilities &) const = default;

    [[nodiscard]] bool isAdvertised() const { return version.has_value(); }
    /// A fact to show: this program neither requests nor decodes H.264.
    [[nodiscard]] bool advertisesH264() const;
    [[nodiscard]] bool supportsPersistentJPEG() const;
};

/// What a camera's preview server does at the moment.
struct PreviewTransportStatus {
    std::set<std::int64_t> modes;
    std::optional<QString> codec;
    std::optional<QString> policy;
    std::optional<std::int64_t> wallTargetFPS;
    std::optional<std::int64_t> selectedTargetFPS;
    std::optional<QString> thermalLevel;
    std::optional<std::int64_t> connections;
    std::optional<std::int64_t> deliveryLimitedClients;
    std::optional<std::int64_t> pendingEncodeJobs;
    std::set<QString> encodeCounters; ///< "name=value"
    std::optional<QString> band;
    bool capacityMeasured = false;
    std::optional<bool> fullStream4K;

    bool operator==(const PreviewTransportStatus &) const = default;

    [[nodiscard]] bool isAdvertised() const;
    [[nodiscard]] bool supportsPersistentJPEG() const;
};

/// The record under "previewCapabilities"; absent unless it is an object of version 1.
[[nodiscard]] std::optional<PreviewCapabilities> decodePreviewCapabilities(const QJsonValue &value);

/// The record under "previewTransport"; absent when it is no object, or says nothing.
[[nodiscard]] std::optional<PreviewTransportStatus> decodePreviewTransport(const QJsonValue &value);

} // namespace vorn
