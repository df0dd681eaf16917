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
    fields(QStringLiteral("duration"), media.duration);
    fields(QStringLiteral("width"), media.width);
    fields(QStringLiteral("height"), media.height);
    fields(QStringLiteral("fps"), media.fps);
    fields(QStringLiteral("hasAudio"), media.hasAudio);
}

template <class Fields, recordOf<DriftCorrection> Record>
void describe(Fields &&fields, Record &correction)
{
    fields(QStringLiteral("offsetSeconds"), correction.offsetSeconds);
    fields(QStringLiteral("referenceSecondsPerSourceSecond"),
           correction.referenceSecondsPerSourceSecond);
    fields(QStringLiteral("driftPPM"), correction.driftPPM);
    fields(QStringLiteral("maxResidualMs"), correction.maxResidualMs);
    fields(QStringLiteral("endpointUncertaintyMs"), correction.endpointUncertaintyMs);
    fields(QStringLiteral("retime"), correction.retime);
}

template <class Fields, recordOf<ExportClipReport> Record>
void describe(Fields &&fields, Record &clip)
{
    fields(QStringLiteral("cameraId"), clip.cameraId);
    fields(QStringLiteral("path"), clip.path);
    fields(QStringLiteral("sha256"), clip.sha256);
    fields(QStringLiteral("media"), clip.media);
    fields(QStringLiteral("correction"), clip.correction);
    fields(QStringLiteral("playbackSpeedPercent"), clip.playbackSpeedPercent);
}

template <class Fields, recordOf<AlignmentReport> Record>
void describe(Fields &&fields, Record &report)
{
    fields(QStringLiteral("schemaVersion"), report.schemaVersion);
    fields(QStringLiteral("projectId"), report.projectId);
    fields(QStringLiteral("takeId"), report.takeId);
    fields(QStringLiteral("referenceCameraId"), report.referenceCameraId);
    fields(QStringLiteral("originalsModified"), report.originalsModified);
    fields(QStringLiteral("resolveImportVerified"), report.resolveImportVerified);
    fields(QStringLiteral("clips"), report.clips);
}

} // namespace vorn
