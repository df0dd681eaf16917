// SPDX-License-Identifier: Apache-2.0

#include "preview/preview_roster.h"

#include "live/camera_order.h"

#include <algorithm>

namespace vorn::LivePreviewRoster {

std::vector<LiveCamera> eligible(std::span<const LiveCamera> cameras, WallTime at)
{
    std::vector<LiveCamera> result;
    for (const LiveCamera &camera : cameras) {
        if (camera.isOnline(at) && !camera.isDirector())
            result.push_back(camera);
    }
    if (result.size() > maximumCameras) {
        std::ranges::sort(result, cameraOrder());
        result.resize(maximumCameras);
    }
    return result;
}

std::set<QString> eligibleIDs(std::span<const LiveCamera> cameras, WallTime at)
{
    std::set<QString> ids;
    for (const LiveCamera &camera : eligible(cameras, at))
        ids.insert(camera.id);
    return ids;
}

} // namespace vorn::LivePreviewRoster
