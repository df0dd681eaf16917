// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <cstddef>
#include <optional>
#include <span>
#include <variant>

namespace vorn {

/// What an envelope may hold, as a datagram or as the body of a probe's answer.
inline constexpr std::size_t maximumPacketBytes = 8192;

/// A camera's snapshot of itself. The stamps are undefined where the envelope lacks the key; a key
/// that is there with a useless value, null included, is told from that.
struct LiveCameraPacket {
    QString type;   ///< "announce" or "status"
    QString sender; ///< the camera's id, 1 to maximumIdBytes bytes of UTF-8
    QJsonObject payload;
    QJsonValue sessionID = QJsonValue::Undefined;
    QJsonValue sequence = QJsonValue::Undefined;
    QJsonValue sentMs = QJsonValue::Undefined;

    bool operator==(const LiveCameraPacket &) const = default;

    [[nodiscard]] bool hasSessionID() const { return !sessionID.isUndefined(); }
    [[nodiscard]] bool hasSequence() const { return !sequence.isUndefined(); }
    [[nodiscard]] bool hasSentMs() const { return !sentMs.isUndefined(); }
    /// The payload's id where that is text, which a decoded packet has equal to `sender`.
    [[nodiscard]] QString cameraID() const { return payload.value(u"id").toString(sender); }
};

/// A camera's answer to a Transfer Mode request.
struct TransferModeResponse {
    QString sender;
    QJsonObject payload; ///< "action" and "requestId" are known to be good

    bool operator==(const TransferModeResponse &) const = default;
};

using LiveDatagram = std::variant<LiveCameraPacket, TransferModeResponse>;

/// Reads one envelope (JSON, RFC 8259); absent when it is anything but a whole and valid one. Any
/// thread; never throws.
[[nodiscard]] std::optional<LiveDatagram> decodeDatagram(std::span<const std::byte> data);
/// As decodeDatagram, for a place where only snapshots are welcome.
[[nodiscard]] std::optional<LiveCameraPacket> decodePacket(std::span<const std::byte> data);
/// As decodeDatagram, for a place where only answers are welcome.
[[nodiscard]] std::optional<TransferModeResponse>
decodeTransferModeResponse(std::span<const std::byte> data);

} // namespace vorn
