// SPDX-License-Identifier: Apache-2.0

#include "store/pending_download.h"

#include "library/safe_identifier.h"

namespace vorn {
namespace {

template <class Library> auto *findStored(Library &library, const PendingDownload &pending)
{
    auto *const project = findById(library.projects, pending.projectId);
    auto *const take = project ? findById(project->takes, pending.takeId) : nullptr;
    return take ? findById(take->clips, pending.clip.id) : nullptr;
}

} // namespace

const VORNClip *storedClip(const VORNLibrary &library, const PendingDownload &pending)
{
    return findStored(library, pending);
}

VORNClip *storedClip(VORNLibrary &library, const PendingDownload &pending)
{
    return findStored(library, pending);
}

bool isPlaceOfAnother(const VORNLibrary &library, const PendingDownload &pending)
{
    const VORNClip &clip = pending.clip;
    // From the outer folder to the inner: most of what has the file's name is left out at once.
    const auto isFolderOf = [](const QString &id) {
        return [folder = safeIdentifier(id)](const QString &other) {
            return safeIdentifier(other) == folder;
        };
    };
    const auto isProject = isFolderOf(pending.projectId);
    const auto isTake = isFolderOf(pending.takeId);
    const auto isCamera = isFolderOf(clip.cameraId);
    const auto isClip = isFolderOf(clip.id);
    for (const VORNProject &project : library.projects) {
        if (!isProject(project.id))
            continue;
        for (const VORNTake &take : project.takes) {
            if (!isTake(take.id))
                continue;
            for (const VORNClip &other : take.clips) {
                if (other.id == clip.id && take.id == pending.takeId
                    && project.id == pending.projectId)
                    return false;
                if (other.fileName == clip.fileName && isCamera(other.cameraId) && isClip(other.id)
                    && other.sha256.compare(clip.sha256, Qt::CaseInsensitive) != 0)
                    return true;
            }
        }
    }
    return false;
}

} // namespace vorn
