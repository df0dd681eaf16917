// SPDX-License-Identifier: Apache-2.0

#include "store/download_progress.h"

namespace vorn {

void DownloadProgress::begin(const VORNClip &clip)
{
    if (clipCount > 0)
        clipIndex += 1;
    earlierBytes = byteSum(earlierBytes, clipTotalBytes);
    clipId = clip.id;
    cameraId = clip.cameraId;
    clipBytes = 0;
    clipTotalBytes = knownBytes(clip);
    verifiedBytes.reset();
    stage += 1;
}

void DownloadProgress::count(std::span<const std::int64_t> sizes)
{
    clipCount = clipIndex + sizes.size();
    allTotalBytes = earlierBytes;
    for (const std::int64_t size : sizes)
        allTotalBytes = byteSum(allTotalBytes, size);
}

void DownloadProgress::resumeAt(std::int64_t bytes)
{
    verifiedBytes.reset();
    stage += 1;
    clipBytes = bytes;
}

void DownloadProgress::setVerifiedBytes(std::int64_t bytes)
{
    if (!verifiedBytes)
        stage += 1;
    verifiedBytes = bytes;
}

} // namespace vorn
