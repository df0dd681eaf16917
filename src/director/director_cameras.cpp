// SPDX-License-Identifier: Apache-2.0

#include "director/director_cameras.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vorn {

const LiveCamera *findCamera(std::span<const LiveCamera> cameras, const std::optional<QString> &id)
{
    if (!id)
        return nullptr;
    const auto found = std::ranges::find(cameras, *id, &LiveCamera::id);
    return found == cameras.end() ? nullptr : &*found;
}

std::vector<const LiveCamera *> cameraWallCameras(std::span<const LiveCamera> cameras, WallTime now,
                                                  const CameraOrder &isBefore)
{
    std::vector<const LiveCamera *> wall;
    wall.reserve(cameras.size());
    for (const LiveCamera &camera : cameras) {
        if (!camera.isDirector())
            wall.push_back(&camera);
    }
    std::ranges::sort(wall, [&](const LiveCamera *a, const LiveCamera *b) {
        const bool isOnline = a->isOnline(now);
        return isOnline == b->isOnline(now) ? isBefore(*a, *b) : isOnline;
    });
    return wall;
}

const LiveCamera *firstOnlineCamera(std::span<const LiveCamera> cameras, WallTime now)
{
    const auto found = std::ranges::find_if(cameras, [now](const LiveCamera &camera) {
        return camera.isOnline(now) && !camera.isDirector();
    });
    return found == cameras.end() ? nullptr : &*found;
}

std::vector<AudioChannelState> audioChannels(std::span<const AudioChannelState> existing,
                                             std::span<const LiveCamera> cameras)
{
    std::vector<AudioChannelState> channels;
    for (const LiveCamera &camera : cameras) {
        if (camera.isDirector())
            continue;
        const auto kept = std::ranges::find(existing, camera.id, &AudioChannelState::id);
        channels.push_back(kept == existing.end() ? AudioChannelState{camera.id, camera.name}
                                                  : *kept);
    }
    return channels;
}

bool canTake(const LiveEditTimeline &timeline, std::span<const LiveCamera> cameras, WallTime now)
{
    const LiveCamera *preview = findCamera(cameras, timeline.previewCameraID);
    return timeline.isRunning() && preview && preview->isOnline(now)
           && timeline.previewCameraID != timeline.programCameraID;
}

VORNPreviewNetworkPolicy effectivePreviewPolicy(VORNPreviewNetworkPolicy policy,
                                                const LiveEditTimeline &timeline,
                                                std::span<const LiveCamera> cameras, WallTime now)
{
    std::vector<PreviewCapabilities> capabilities;
    for (const LiveCamera &camera : cameras) {
        if ((camera.id == timeline.previewCameraID || camera.id == timeline.programCameraID)
            && camera.isOnline(now))
            capabilities.push_back(camera.previewCapabilities);
    }
    return effective(policy, capabilities);
}

std::set<QString> selectedProfileCameraIDs(const LiveEditTimeline &timeline,
                                           VORNPreviewNetworkPolicy effectivePolicy)
{
    std::set<QString> ids;
    const auto &preview = timeline.previewCameraID;
    const auto &program = timeline.programCameraID;
    const bool isForBoth = effectivePolicy == VORNPreviewNetworkPolicy::performance5GHz;
    if (preview)
        ids.insert(*preview);
    if (program && (!preview || isForBoth))
        ids.insert(*program);
    return ids;
}

} // namespace vorn
