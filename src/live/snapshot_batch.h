// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/camera_snapshot.h"

#include <QHash>
#include <QSet>
#include <QString>

#include <cstdint>
#include <vector>

namespace vorn {

/// Snapshots on their way to the camera list, one for each camera: what a camera says while the
/// batch waits is merged, which the list cannot tell from getting them one by one. Holds no more
/// cameras than the list would take, and always those that the list holds.
class SnapshotBatch {
public:
    /// The ids that the list holds now.
    void setListed(QSet<QString> ids);

    [[nodiscard]] bool isEmpty() const { return m_waiting.isEmpty(); }
    /// False for a camera that the list would have no room for.
    [[nodiscard]] bool hasRoomFor(const QString &id) const;
    /// Adds a snapshot for which there is room.
    void add(CameraSnapshot snapshot);
    /// What waits, the camera updated last standing last. The batch is empty then.
    [[nodiscard]] std::vector<CameraSnapshot> take();

private:
    struct Waiting {
        std::uint64_t turn = 0;
        CameraSnapshot snapshot;
    };
    QSet<QString> m_listed;
    QHash<QString, Waiting> m_waiting;
    qsizetype m_unlisted = 0; ///< cameras in m_waiting that the list did not hold
    std::uint64_t m_turn = 0;
};

} // namespace vorn
