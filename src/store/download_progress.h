// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/byte_sum.h"
#include "library/records.h"

#include <optional>
#include <span>

namespace vorn {

/// How far the running downloads are, those that wait included.
struct DownloadProgress {
    QString clipId; ///< the one that is fetched
    QString cameraId;
    std::size_t clipIndex = 0; ///< from 0
    std::size_t clipCount = 0;
    std::int64_t clipBytes = 0;
    std::int64_t clipTotalBytes = 0;
    std::optional<std::int64_t> verifiedBytes; ///< of this clip, while its digest is taken
    std::int64_t earlierBytes = 0;             ///< of the clips before it
    std::int64_t allTotalBytes = 0;            ///< of all clips together
    int stage = 0; ///< rises where the bytes jump: a rate across that would mean nothing

    /// Of all clips together.
    [[nodiscard]] std::int64_t allBytes() const { return byteSum(earlierBytes, clipBytes); }

    /// Goes over to a clip. The one before counts as done, also when it failed.
    void begin(const VORNClip &clip);
    /// The sizes of the clip and of those that wait behind it.
    void count(std::span<const std::int64_t> sizes);
    /// What is on the disk of the clip when its fetching begins.
    void resumeAt(std::int64_t bytes);
    void setVerifiedBytes(std::int64_t bytes);

    bool operator==(const DownloadProgress &) const = default;
};

} // namespace vorn
