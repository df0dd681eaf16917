// SPDX-License-Identifier: Apache-2.0
#pragma once

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

/// Probes a movie file, and refuses what the export cannot align: throws DriftExportError, or the
/// FileError or MediaProbeError of the reader. Any thread; blocks for a few small reads.
[[nodiscard]] MediaInfo mediaInfo(const QString &path);

} // namespace DriftEngine
} // namespace vorn
