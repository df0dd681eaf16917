// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "transfer/discovered_device.h"

#include <QJsonObject>
#include <QLocalSocket>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace vorn {

struct RigPhonesOptions {
    int count = 4;
    QString transfer = QStringLiteral("approve"); ///< ask, approve, decline, pending or silent
    int clips = 0;                                ///< synthetic clips of each phone
    QStringList more = {};                        ///< further options of vorn-rig phones
};

/// The simulated phones of vorn-rig in a process of their own, for as long as this object lives.
/// In the lab (scripts/lab) they stand on the other side of the cable, 10.77.0.11 and on, with the
/// ports that every phone has. Elsewhere they stand on 127.0.0.2 and on, send no multicast, and
/// have ports of their own, which state() tells. Whatever fails ends the test program.
class RigPhones {
public:
    explicit RigPhones(const RigPhonesOptions &options = {});
    ~RigPhones();
    RigPhones(const RigPhones &) = delete;
    RigPhones &operator=(const RigPhones &) = delete;

    /// The answer to one command, such as "cam-a loss 0.3": "ok", "ok VALUE" or "error WORDS".
    /// `vorn-rig phones --help` lists them. Blocks.
    QString command(const QString &line);
    /// command(), where any answer but "ok" ends the test program. Gives the value.
    QString must(const QString &line);

    /// What the phones sent and served.
    [[nodiscard]] QJsonObject state();
    /// The part of one phone.
    [[nodiscard]] QJsonObject phone(const QString &cameraId);

    /// What one phone's server of Transfer Mode shows and counts.
    [[nodiscard]] QJsonObject transfer(const QString &cameraId);

    /// What discovery lists of it there.
    [[nodiscard]] DiscoveredDevice shared(const QString &cameraId);

    /// Makes the pictures of all phones in their present formats before somebody waits for them.
    void render();

private:
    QTemporaryDir m_folder;
    QProcess m_process;
    QLocalSocket m_control;
};

} // namespace vorn
