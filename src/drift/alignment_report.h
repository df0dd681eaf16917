// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "drift/anchor_fit.h"
#include "drift/media_info.h"
#include "library/record_json.h"

namespace vorn {

/// What an export found out about one clip.
struct ExportClipReport {
    QString cameraId;
    QString path;   ///< of the file as opened
    QString sha256; ///< computed from the file, not taken from the library
    MediaInfo media;
    DriftCorrection correction;
    double playbackSpeedPercent = 100;

    bool operator==(const ExportClipReport &) const = default;
};

/// "alignment-report.json": by which line each clip of a take was laid on the timeline.
struct AlignmentReport {
    std::int64_t schemaVersion = 1;
    QString projectId;
    QString takeId;
    QString referenceCameraId;
    bool originalsModified = false;
    bool resolveImportVerified = false;  ///< no import has been tried
    std::vector<ExportClipReport> clips; ///< in the order of the take's

    bool operator==(const AlignmentReport &) const = default;
};

template <class Fields, recordOf<MediaInfo> Record> void describe(Fields &&fields, Record &media)
{
    fields(u"duration", media.duration);
    fields(u"fps", media.fps);
    fields(u"hasAudio", media.hasAudio);
    fields(u"height", media.height);
    fields(u"width", media.width);
}

template <class Fields, recordOf<DriftCorrection> Record>
void describe(Fields &&fields, Record &correction)
{
    fields(u"driftPPM", correction.driftPPM);
    fields(u"endpointUncertaintyMs", correction.endpointUncertaintyMs);
    fields(u"maxResidualMs", correction.maxResidualMs);
    fields(u"offsetSeconds", correction.offsetSeconds);
    fields(u"referenceSecondsPerSourceSecond", correction.referenceSecondsPerSourceSecond);
    fields(u"retime", correction.retime);
}

template <class Fields, recordOf<ExportClipReport> Record>
void describe(Fields &&fields, Record &clip)
{
    fields(u"cameraId", clip.cameraId);
    fields(u"correction", clip.correction);
    fields(u"media", clip.media);
    fields(u"path", clip.path);
    fields(u"playbackSpeedPercent", clip.playbackSpeedPercent);
    fields(u"sha256", clip.sha256);
}

template <class Fields, recordOf<AlignmentReport> Record>
void describe(Fields &&fields, Record &report)
{
    fields(u"clips", report.clips);
    fields(u"originalsModified", report.originalsModified);
    fields(u"projectId", report.projectId);
    fields(u"referenceCameraId", report.referenceCameraId);
    fields(u"resolveImportVerified", report.resolveImportVerified);
    fields(u"schemaVersion", report.schemaVersion);
    fields(u"takeId", report.takeId);
}

} // namespace vorn
