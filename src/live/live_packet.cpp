// SPDX-License-Identifier: Apache-2.0

#include "live/live_packet.h"

#include "base/json_text.h"
#include "base/text_form.h"
#include "live/json_values.h"
#include "live/wire_text.h"

#include <QByteArray>

#include <utility>

namespace vorn {
namespace {

LiveDatagram snapshotOf(const QString &type, const QJsonObject &envelope,
                        const QJsonObject &payload)
{
    const std::optional<QString> sender = textValue(envelope.value(u"sender"));
    const std::optional<QString> id = textValue(payload.value(u"id"));
    if (sender && id && *sender != *id)
        return DatagramFate::badSender;
    const QString candidate = sender ? *sender : id.value_or(QString());
    if (!isBoundedText(candidate, maximumIdBytes))
        return DatagramFate::badSender;
    return LiveCameraPacket{.type = type,
                            .sender = candidate,
                            .payload = payload,
                            .sessionID = envelope.value(u"sessionId"),
                            .sequence = envelope.value(u"seq"),
                            .sentMs = envelope.value(u"sentMs")};
}

LiveDatagram transferModeResponse(const QJsonObject &envelope, const QJsonObject &payload)
{
    const QString sender = envelope.value(u"sender").toString();
    const QString action = payload.value(u"action").toString();
    if (!isBoundedText(sender, maximumIdBytes)
        || (action != u"TRANSFER_MODE_PENDING" && action != u"TRANSFER_MODE_ACK")
        || !isBoundedText(payload.value(u"requestId").toString(), maximumRequestIdBytes))
        return DatagramFate::badAnswer;
    return TransferModeResponse{.sender = sender, .payload = payload};
}

template <class Kind> std::optional<Kind> only(LiveDatagram datagram)
{
    Kind *kind = std::get_if<Kind>(&datagram);
    return kind ? std::optional(std::move(*kind)) : std::nullopt;
}

} // namespace

LiveDatagram decodeDatagram(std::span<const std::byte> data)
{
    if (data.size() > maximumPacketBytes)
        return DatagramFate::tooLong;
    const auto text = QByteArray::fromRawData(reinterpret_cast<const char *>(data.data()),
                                              qsizetype(data.size()));
    // What is no object reads as an empty one, which has no payload.
    const QJsonObject envelope = parseJson(text).object();
    const QJsonValue payload = envelope.value(u"payload");
    if (!payload.isObject())
        return DatagramFate::unreadable;
    if (exactInteger(envelope.value(u"v")) != 1)
        return DatagramFate::otherVersion;
    const QString type = envelope.value(u"type").toString().toLower();
    if (type == u"announce" || type == u"status")
        return snapshotOf(type, envelope, payload.toObject());
    if (type == u"command")
        return transferModeResponse(envelope, payload.toObject());
    return DatagramFate::otherType;
}

std::optional<LiveCameraPacket> decodePacket(std::span<const std::byte> data)
{
    return only<LiveCameraPacket>(decodeDatagram(data));
}

std::optional<TransferModeResponse> decodeTransferModeResponse(std::span<const std::byte> data)
{
    return only<TransferModeResponse>(decodeDatagram(data));
}

} // namespace vorn
