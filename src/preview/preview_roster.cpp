#include "preview/preview_roster.h"

namespace vorn::LivePreviewRoster {

std::vector<LiveCamera> eligible(std::span<const LiveCamera> cameras, WallTime at)
{
    std::vector<LiveCamera> result;
    for (const LiveCamera &camera : cameras) {
        if (result.size() == maximumCameras)
            break;
        if (camera.isOnline(at) && !camera.isDirector())
            result.push_back(camera);
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
