// SPDX-License-Identifier: Apache-2.0

#include "live/snapshot_batch.h"

#include "live/camera_list.h"

#include <algorithm>
#include <utility>

namespace vorn {

void SnapshotBatch::setListed(QSet<QString> ids)
{
    m_listed = std::move(ids);
    m_unlisted = std::ranges::count_if(m_waiting, [&](const Waiting &waiting) {
        return !m_listed.contains(waiting.snapshot.id());
    });
}

bool SnapshotBatch::hasRoomFor(const QString &id) const
{
    return m_unlisted + m_listed.size() < qsizetype(CameraList::maximumCameras)
           || m_listed.contains(id) || m_waiting.contains(id);
}

void SnapshotBatch::add(CameraSnapshot snapshot)
{
    const auto found = m_waiting.find(snapshot.id());
    if (found == m_waiting.end()) {
        m_unlisted += m_listed.contains(snapshot.id()) ? 0 : 1;
        const QString id = snapshot.id();
        m_waiting.insert(id, Waiting{.turn = ++m_turn, .snapshot = std::move(snapshot)});
    } else {
        found->turn = ++m_turn;
        found->snapshot.merge(std::move(snapshot));
    }
}

std::vector<CameraSnapshot> SnapshotBatch::take()
{
    QHash<QString, Waiting> waiting = std::exchange(m_waiting, {});
    m_unlisted = 0;
    std::vector<Waiting> inTurn;
    inTurn.reserve(std::size_t(waiting.size()));
    for (Waiting &one : waiting)
        inTurn.push_back(std::move(one));
    std::ranges::sort(inTurn, {}, &Waiting::turn);
    std::vector<CameraSnapshot> snapshots;
    snapshots.reserve(inTurn.size());
    for (Waiting &one : inTurn)
        snapshots.push_back(std::move(one.snapshot));
    return snapshots;
}

} // namespace vorn
