// SPDX-License-Identifier: Apache-2.0

#include "library/identity_merge.h"

#include "base/text_order.h"

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

/// What only one side states is no conflict.
template <class Value> bool differ(const std::optional<Value> &a, const std::optional<Value> &b)
{
    return a && b && *a != *b;
}

void requireNoContradiction(const TakeStatement &statement, const VORNTake &take)
{
    const auto requireSame = [&](bool isSame, const QString &what) {
        if (!isSame)
            throw IdentityError(u"Take %1 has conflicting %2."_s.arg(take.id, what));
    };
    requireSame(!differ(take.projectNameAtCapture, statement.projectNameAtCapture),
                u"captured project names"_s);
    requireSame(!differ(take.projectRevisionAtCapture, statement.projectRevisionAtCapture),
                u"captured project revisions"_s);
    requireSame(!differ(take.createdAt, statement.createdAt), u"creation times"_s);
    requireSame(!differ(take.referenceCameraId, statement.referenceCameraId),
                u"reference cameras"_s);
    requireSame(take.timelineFPS == defaultTimelineFPS
                    || take.timelineFPS == statement.timelineFPS.value_or(take.timelineFPS),
                u"timeline frame rates"_s);
}

} // namespace

void applyStatement(const TakeStatement &statement, VORNTake &take)
{
    requireNoContradiction(statement, take);
    const auto takeOver = [](const auto &stated, auto &known) {
        if (stated)
            known = stated;
    };
    takeOver(statement.projectNameAtCapture, take.projectNameAtCapture);
    takeOver(statement.projectRevisionAtCapture, take.projectRevisionAtCapture);
    takeOver(statement.createdAt, take.createdAt);
    takeOver(statement.referenceCameraId, take.referenceCameraId);
    take.timelineFPS = statement.timelineFPS.value_or(take.timelineFPS);
}

ClipPlaces::ClipPlaces(const VORNLibrary &library)
{
    for (const VORNProject &project : library.projects) {
        for (const VORNTake &take : project.takes) {
            for (const VORNClip &clip : take.clips)
                add(clip.id, project.id, take.id);
        }
    }
}

void ClipPlaces::add(const QString &clipId, const QString &projectId, const QString &takeId)
{
    m_places.insert(clipId, {projectId, takeId});
}

void ClipPlaces::requireNoOther(const QString &clipId, const QString &projectId,
                                const QString &takeId) const
{
    const auto [first, last] = m_places.equal_range(clipId);
    if (std::any_of(first, last, [&](const Place &place) { return place.projectId != projectId; }))
        throw IdentityError(u"Immutable clip ID %1 appears in multiple projects."_s.arg(clipId));
    if (std::any_of(first, last, [&](const Place &place) { return place.takeId != takeId; }))
        throw IdentityError(u"Immutable clip ID %1 appears in multiple takes."_s.arg(clipId));
}

TakeMerge::TakeMerge(VORNTake take, QString projectId, ClipPlaces &places)
    : m_take(std::move(take)),
      m_projectId(std::move(projectId)),
      m_places(places),
      m_clips(m_take.clips)
{
    m_cameraIds.reserve(m_take.clips.size());
    for (const VORNClip &clip : std::as_const(m_take.clips))
        m_cameraIds.insert(clip.cameraId);
}

void TakeMerge::mergeClip(VORNClip clip)
{
    if (clip.id.isEmpty() || clip.cameraId.isEmpty() || clip.sha256.isEmpty())
        throw IdentityError(u"Clip identity, camera, or SHA-256 is missing."_s);
    m_places.requireNoOther(clip.id, m_projectId, m_take.id);

    if (const VORNClip *known = m_clips.find(clip.id)) {
        if (known->sha256.compare(clip.sha256, Qt::CaseInsensitive) != 0
            || known->cameraId != clip.cameraId || differ(known->sizeBytes, clip.sizeBytes)
            || differ(known->deviceId, clip.deviceId))
            throw IdentityError(u"Immutable clip ID %1 has conflicting metadata."_s.arg(clip.id));
        if (known->localPath)
            clip.localPath = known->localPath;
    } else {
        if (m_cameraIds.contains(clip.cameraId))
            throw IdentityError(u"Take %1 has more than one finalized clip for camera %2."_s.arg(
                m_take.id, clip.cameraId));
        m_cameraIds.insert(clip.cameraId);
        m_places.add(clip.id, m_projectId, m_take.id);
    }
    m_clips.put(std::move(clip));
}

VORNTake TakeMerge::result() &&
{
    m_take.clips = std::move(m_clips).take();
    return std::move(m_take);
}

void mergeProject(VORNProject project, VORNLibrary &library)
{
    std::erase_if(library.projects, [&](const VORNProject &old) { return old.id == project.id; });
    library.projects.push_back(std::move(project));
    sortByText(library.projects, &VORNProject::name);
}

} // namespace vorn
