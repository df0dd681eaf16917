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
    /// The payload's id where that is text, else the sender: decoding has held the two equal.
    [[nodiscard]] const QString &cameraID() const { return sender; }
};

/// A camera's answer to a Transfer Mode request.
struct TransferModeResponse {
    QString sender;
    QJsonObject payload; ///< "action" and "requestId" are known to be good

    bool operator==(const TransferModeResponse &) const = default;
};

/// What becomes of a datagram.
enum class DatagramFate {
    heard,    ///< a snapshot that counts
    answered, ///< an answer to a request that waits
    // None of ours:
    tooLong,
    unreadable,   ///< no JSON object with a payload
    otherVersion, ///< of the protocol
    otherType,    ///< of envelope
    badSender,    ///< no usable id, or two that differ
    badAnswer,    ///< a command that answers no request
    // Of no use to the listener:
    beyond,        ///< from outside the computer's own networks
    outdated,      ///< nothing newer, as of what comes over two links
    noRoom,        ///< a further camera when the list is full
    nobodyWaiting, ///< an answer that no request waits for
};
inline constexpr std::size_t datagramFates = std::size_t(DatagramFate::nobodyWaiting) + 1;

/// Or why it is neither.
using LiveDatagram = std::variant<LiveCameraPacket, TransferModeResponse, DatagramFate>;

/// Reads one envelope (JSON, RFC 8259), which must be whole and valid. Any thread; never throws.
[[nodiscard]] LiveDatagram decodeDatagram(std::span<const std::byte> data);
/// As decodeDatagram, where only snapshots are welcome.
[[nodiscard]] std::optional<LiveCameraPacket> decodePacket(std::span<const std::byte> data);
/// As decodeDatagram, where only answers are welcome.
[[nodiscard]] std::optional<TransferModeResponse>
decodeTransferModeResponse(std::span<const std::byte> data);

} // namespace vorn
