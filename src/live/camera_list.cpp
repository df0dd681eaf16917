// SPDX-License-Identifier: Apache-2.0

#include "live/camera_list.h"

#include "base/text_order.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace vorn {

CameraList::CameraList() : m_isBefore(localizedLess()) {}

bool CameraList::isAnyOnline(WallTime now) const
{
    return std::ranges::any_of(m_cameras,
                               [&](const LiveCamera &camera) { return camera.isOnline(now); });
}

bool CameraList::apply(CameraSnapshot snapshot, WallTime now)
{
    auto found = std::ranges::find(m_cameras, snapshot.id(), &LiveCamera::id);
    if (found == m_cameras.end()) {
        if (m_cameras.size() >= maximumCameras)
            return false;
        LiveCamera camera;
        camera.id = snapshot.id();
        camera.name = snapshot.id();
        m_cameras.push_back(std::move(camera));
        found = std::prev(m_cameras.end());
    }
    std::move(snapshot).applyTo(*found);
    found->lastSeen = now;

    // All others are in order: the record goes behind those that are not after it, before or
    // behind its present place.
    const auto place = [&](auto first, auto last) {
        return std::ranges::upper_bound(first, last, found->name, m_isBefore, &LiveCamera::name);
    };
    if (const auto earlier = place(m_cameras.begin(), found); earlier != found)
        std::rotate(earlier, found, std::next(found));
    else
        std::rotate(found, std::next(found), place(std::next(found), m_cameras.end()));
    return true;
}

bool CameraList::removeExpired(WallTime now)
{
    return std::erase_if(m_cameras, [&](const LiveCamera &camera) { return camera.isExpired(now); })
           > 0;
}

} // namespace vorn
