// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "media/media_probe.h"

#include <QString>

#include <cstdint>

namespace vorn {

/// What the export needs to know of a clip's media.
struct MediaInfo {
    double duration = 0;     ///< seconds, finite and above 0
    std::int64_t width = 0;  ///< displayed pixels, after the track's transform
    std::int64_t height = 0; ///< displayed pixels, after the track's transform
    double fps = 0;          ///< nominal rate: a 32-bit float, widened
    bool hasAudio = false;   ///< exactly one audio track

    bool operator==(const MediaInfo &) const = default;
};

namespace DriftEngine {

/// Refuses what the export cannot align of a movie file whose headers say this: throws
/// DriftExportError. Any thread.
[[nodiscard]] MediaInfo mediaInfo(const ProbedMedia &probed, const QString &path);

} // namespace DriftEngine
} // namespace vorn
