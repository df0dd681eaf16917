// SPDX-License-Identifier: Apache-2.0

#include "drift/media_info.h"

#include "base/files.h"
#include "drift/drift_error.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

/// Sizes and matrices are 16.16 numbers: the sum of two products stays below 2^33.
std::int64_t wholePixels(double size)
{
    return std::int64_t(std::abs(size));
}

} // namespace

MediaInfo DriftEngine::mediaInfo(const ProbedMedia &probed, const QString &path)
{
    if (!std::isfinite(probed.durationSeconds) || !(probed.durationSeconds > 0))
        throw DriftExportError::invalid(u"Invalid media duration for "_s + fileNameOf(path) + u'.');
    if (probed.videoTracks.size() != 1)
        throw DriftExportError::invalid(u"Each clip must contain exactly one video track."_s);
    if (probed.audioTracks.size() > 1)
        throw DriftExportError::invalid(u"Multiple audio tracks need manual mapping."_s);
    const ProbedVideoTrack &video = probed.videoTracks.front();
    if (!std::isfinite(video.nominalFrameRate) || !(video.nominalFrameRate > 0))
        throw DriftExportError::invalid(u"Missing video frame rate."_s);

    MediaInfo info;
    info.duration = probed.durationSeconds;
    info.width = wholePixels(video.a * video.naturalWidth + video.c * video.naturalHeight);
    info.height = wholePixels(video.b * video.naturalWidth + video.d * video.naturalHeight);
    info.fps = double{video.nominalFrameRate};
    info.hasAudio = probed.audioTracks.size() == 1;
    return info;
}

} // namespace vorn
