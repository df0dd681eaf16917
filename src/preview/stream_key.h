// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "preview/preview_profile.h"

#include <QString>

#include <tuple>

namespace vorn {

/// Names one stream of frames.
struct StreamKey {
    QString cameraID;
    VORNPreviewProfile profile = VORNPreviewProfile::wall;

    bool operator==(const StreamKey &) const = default;
    friend bool operator<(const StreamKey &a, const StreamKey &b)
    {
        return std::tie(a.cameraID, a.profile) < std::tie(b.cameraID, b.profile);
    }
};

} // namespace vorn
