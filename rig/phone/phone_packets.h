// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/phone/pictures.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>
#include <vector>

/// What phones say, as bytes. Nothing here is shared with the program that reads it.
namespace vorn::rig {

inline constexpr int maximumDatagramBytes = 8192;

/// What a phone knows of itself when it writes a status.
struct PhoneFacts {
    int castIndex = 0;
    double seconds = 0; ///< since the rig began; moves the audio levels
    QString takeId;     ///< not empty while it records
    qint64 recordingSinceMs = 0;
    PreviewHold hold = PreviewHold::landscape;
    PictureFormat wall;
    PictureFormat selected;
    int connections = 0;
    int wallFrames = 0;
    int selectedFrames = 0;
    int skippedFrames = 0;
};

/// The payload of a status.
[[nodiscard]] QJsonObject statusPayload(const PhoneFacts &facts);

/// The status `envelope`, made hostile in the way that the name tells; absent for an unknown name.
[[nodiscard]] std::optional<QByteArray> hostilePacket(const QString &name,
                                                      const QJsonObject &envelope);
/// Names and explanations, for the help.
[[nodiscard]] QStringList hostilePacketHelp();

} // namespace vorn::rig
