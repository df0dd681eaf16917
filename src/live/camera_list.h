// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/camera_snapshot.h"
#include "live/live_camera.h"

#include <QString>

#include <cstddef>
#include <functional>
#include <vector>

namespace vorn {

/// The cameras heard within LiveCamera::forgetAfter, in the order of their names. Of equal names
/// the one updated last stands last.
class CameraList {
public:
    /// A camera that is not listed is refused while the list holds this many: a stranger who makes
    /// ids up must not grow it. Listed ones are always updated.
    static constexpr std::size_t maximumCameras = 256;

    CameraList();

    [[nodiscard]] const std::vector<LiveCamera> &cameras() const { return m_cameras; }
    [[nodiscard]] bool isAnyOnline(WallTime now) const;

    /// Updates the camera's record, or makes one. False when there is no room for one.
    bool apply(CameraSnapshot snapshot, WallTime now);
    /// True when a record was removed.
    bool removeExpired(WallTime now);

private:
    std::vector<LiveCamera> m_cameras;
    std::function<bool(const QString &, const QString &)> m_isBefore;
};

} // namespace vorn
