// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/live_packet.h"
#include "support.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace vorn {

/// The object that `text` writes with apostrophes for quotation marks.
inline QJsonObject object(const char *text)
{
    const auto json = QByteArray(text).replace('\'', '"');
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject())
        qFatal("no JSON object: %s", text);
    return document.object();
}

/// A status of camera `id` with the payload and the stamps given, each as object() reads it.
inline LiveCameraPacket packet(const QString &id, const char *stamps = "{}",
                               const char *payload = "{}")
{
    const QJsonObject stamped = object(stamps);
    return {.type = QStringLiteral("status"),
            .sender = id,
            .payload = object(payload),
            .sessionID = stamped.value(u"sessionId"),
            .sequence = stamped.value(u"seq"),
            .sentMs = stamped.value(u"sentMs")};
}

} // namespace vorn
