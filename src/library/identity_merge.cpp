#include "library/identity_merge.h"

#include "platform/text_order.h"

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

bool holdsClip(const VORNTake &take, const QString &clipId)
{
    return findById(take.clips, clipId) != nullptr;
}

void requireUniqueClipId(const VORNClip &clip, const VORNTake &take, const VORNProject &project,
                         const VORNLibrary &library)
{
    for (const VORNProject &other : library.projects) {
        if (other.id == project.id)
            continue;
        for (const VORNTake &otherTake : other.takes) {
            if (holdsClip(otherTake, clip.id))
                throw IdentityError(
                    u"Immutable clip ID %1 appears in multiple projects."_s.arg(clip.id));
        }
    }
    for (const VORNTake &other : project.takes) {
        if (other.id != take.id && holdsClip(other, clip.id))
            throw IdentityError(u"Immutable clip ID %1 appears in multiple takes."_s.arg(clip.id));
    }
}

} // namespace

void mergeClip(const VORNClip &clip, VORNTake &take, const VORNProject &project,
               const VORNLibrary &library)
{
    if (clip.id.isEmpty() || clip.cameraId.isEmpty() || clip.sha256.isEmpty())
        throw IdentityError(u"Clip identity, camera, or SHA-256 is missing."_s);
    requireUniqueClipId(clip, take, project, library);

    VORNClip merged = clip;
    if (const VORNClip *existing = findById(take.clips, clip.id)) {
        if (existing->sha256.compare(clip.sha256, Qt::CaseInsensitive) != 0
            || existing->cameraId != clip.cameraId || differ(existing->sizeBytes, clip.sizeBytes)
            || differ(existing->deviceId, clip.deviceId))
            throw IdentityError(u"Immutable clip ID %1 has conflicting metadata."_s.arg(clip.id));
        if (existing->localPath)
            merged.localPath = existing->localPath;
    } else if (std::ranges::find(take.clips, clip.cameraId, &VORNClip::cameraId)
               != take.clips.end()) {
        throw IdentityError(u"Take %1 has more than one finalized clip for camera %2."_s.arg(
            take.id, clip.cameraId));
    }
    take.clips.removeIf([&](const VORNClip &old) { return old.id == clip.id; });
    take.clips.push_back(std::move(merged));
}

void mergeProject(VORNProject project, VORNLibrary &library)
{
    std::erase_if(library.projects, [&](const VORNProject &old) { return old.id == project.id; });
    library.projects.push_back(std::move(project));
    sortByText(library.projects, &VORNProject::name);
}

} // namespace vorn
