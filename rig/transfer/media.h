// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/transfer/http_message.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <map>

/// What a phone has recorded, and its catalog. Nothing here is shared with the program that reads
/// it.
namespace vorn::rig {

/// Which recordings the phones have.
struct MediaOptions {
    QString folder;          ///< made by makeTake, or a folder of such folders; empty: none
    int clips = 0;           ///< synthetic ones besides, of each phone: bytes that are no movie
    qint64 clipBytes = 4096; ///< of each of them
    QString unassignedOf;    ///< the camera with one more clip, whose take has no project; or empty
};

struct ServedFile {
    QByteArray type;
    QString sha256;
    qint64 size = 0;
    ContentReader read;
};

struct PhoneMedia {
    QJsonObject catalog;
    std::map<QByteArray, ServedFile> files; ///< by the path of their address
};

/// The recordings of one phone. A phone that is not in a take of the folder has nothing of it. The
/// phones of one folder tell the same of project and takes. Throws RigError, FileError or JsonError
/// for a folder that holds no take, and for takes that cannot be told apart. Reads each synthetic
/// clip once.
[[nodiscard]] PhoneMedia phoneMedia(const MediaOptions &options, int castIndex);

} // namespace vorn::rig
