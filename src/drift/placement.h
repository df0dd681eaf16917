// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "drift/anchor_fit.h"
#include "drift/media_info.h"

namespace vorn {

/// A clip whose file has been verified and whose line is known.
struct Prepared {
    VORNClip clip;
    QString path; ///< of its local file
    MediaInfo media;
    DriftCorrection correction;
    QString digest; ///< computed from the file now

    bool operator==(const Prepared &) const = default;
};

/// Where a clip lies on the timeline, in seconds. Second 0 of the timeline is second 0 of the
/// reference camera's media.
struct Placement {
    Prepared item;
    double start = 0;
    double duration = 0;
    double sourceStart = 0; ///< in the clip's own media
    double sourceEnd = 0;   ///< in the clip's own media

    bool operator==(const Placement &) const = default;
};

namespace DriftEngine {

/// Places a clip on whole frames of a timeline of `fps` frames per second: from the first frame at
/// or after both its first sample and time zero, to the last whole frame that it reaches. Throws
/// DriftExportError (invalid). Any thread.
[[nodiscard]] Placement placement(const Prepared &item, double fps);

} // namespace DriftEngine
} // namespace vorn
