// SPDX-License-Identifier: Apache-2.0

#include "drift/export_package.h"

#include "base/files.h"
#include "drift/alignment_report.h"
#include "drift/director_cut_document.h"
#include "drift/drift_error.h"
#include "drift/export_steps.h"
#include "drift/package_folder.h"
#include "drift/timeline_document.h"

#include <QDateTime>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

constexpr QLatin1StringView reportFileName("alignment-report.json");
constexpr QLatin1StringView manifestFileName("source-manifest.json");
constexpr std::array packageFileNames{timelineFileName, reportFileName, manifestFileName,
                                      directorCutFileName};

QString packageName(const VORNProject &project, const VORNTake &take, const QDateTime &localTime)
{
    QString name =
        u"VORN_"_s + project.id + u'_' + take.id + u'_' + localTime.toString(u"yyyyMMdd-HHmmss");
    return name.replace(u'/', u'-');
}

std::vector<Placement> allOf(const std::vector<std::optional<Placement>> &placements)
{
    std::vector<Placement> result;
    for (const auto &placement : placements)
        result.push_back(placement.value());
    return result;
}

AlignmentReport alignmentReport(const VORNProject &project, const VORNTake &take,
                                const QString &referenceCameraId,
                                const std::vector<Placement> &placed)
{
    AlignmentReport report;
    report.projectId = project.id;
    report.takeId = take.id;
    report.referenceCameraId = referenceCameraId;
    for (const Placement &placement : placed) {
        const Prepared &item = placement.item;
        report.clips.push_back(
            {.cameraId = item.clip.cameraId,
             .path = item.path,
             .sha256 = item.digest,
             .media = item.media,
             .correction = item.correction,
             .playbackSpeedPercent = 100 / item.correction.referenceSecondsPerSourceSecond});
    }
    return report;
}

/// The take as an import would read it; digests as the library holds them.
SourceManifest sourceManifest(const VORNProject &project, const VORNTake &take,
                              const QString &referenceCameraId,
                              const std::vector<Placement> &placed)
{
    SourceManifest manifest;
    manifest.projectId = project.id;
    manifest.projectName = project.name;
    manifest.projectRevision = project.revision;
    manifest.projectNameAtCapture = take.projectNameAtCapture;
    manifest.projectRevisionAtCapture = take.projectRevisionAtCapture;
    manifest.takeId = take.id;
    manifest.referenceCameraId = referenceCameraId;
    manifest.timelineFPS = take.timelineFPS;
    for (const Placement &placement : placed) {
        const VORNClip &clip = placement.item.clip;
        manifest.clips.push_back({.clipId = clip.id,
                                  .cameraId = clip.cameraId,
                                  .takeId = take.id,
                                  .path = placement.item.path,
                                  .sha256 = clip.sha256,
                                  .anchorMeaning = clip.anchorMeaning,
                                  .anchors = clip.anchors,
                                  .mediaKind = clip.mediaKind,
                                  .timingSidecarPath = clip.timingSidecarURL,
                                  .timingSidecarSHA256 = clip.timingSidecarSHA256,
                                  .deviceId = clip.deviceId,
                                  .deviceName = clip.deviceName});
    }
    return manifest;
}

/// The reference camera's first recording with sound, by which the others are heard to be right.
std::optional<std::size_t> soundClip(const std::vector<Placement> &placements,
                                     const QString &referenceCameraId)
{
    const auto found = std::ranges::find_if(placements, [&](const Placement &placement) {
        return placement.item.clip.cameraId == referenceCameraId && placement.item.media.hasAudio;
    });
    return found == placements.end() ? std::nullopt
                                     : std::optional(std::size_t(found - placements.begin()));
}

} // namespace

QString DriftEngine::exportPackage(const VORNProject &project, const VORNTake &take,
                                   const QString &parent, const OnExportProgress &onProgress,
                                   const std::vector<CutDecision> &decisions)
{
    const auto [reference, rate] = takeBasis(take, stopAtRefusal);
    const QString &referenceCameraId = reference.value();
    const double fps = rate.value();
    requireXmlNames(project, take, stopAtRefusal);

    const QString folder = parent + u'/' + packageName(project, take, QDateTime::currentDateTime());
    if (somethingExistsAt(folder))
        throw DriftExportError::invalid(u"Export destination already exists."_s);

    const auto prepared =
        preparations(take, reference, FileBytes::verify, onProgress, stopAtRefusal);
    const std::vector<Placement> placed = allOf(placements(prepared, fps, stopAtRefusal));
    const AlignmentReport report = alignmentReport(project, take, referenceCameraId, placed);
    const SourceManifest manifest = sourceManifest(project, take, referenceCameraId, placed);
    std::vector files{PackageFile{timelineFileName,
                                  timelineDocument(project.name, take.id, fps, placed).toUtf8()},
                      PackageFile{reportFileName, prettyJson(jsonFromRecord(report))},
                      PackageFile{manifestFileName, prettyJson(jsonFromRecord(manifest))}};
    if (const auto cut = directorCut(decisions, placed, fps))
        files.push_back(
            {directorCutFileName, directorCutDocument(project.name, take.id, fps, placed, *cut,
                                                      soundClip(placed, referenceCameraId))
                                      .toUtf8()});
    writePackage(folder, files, packageFileNames);
    return folder;
}

std::optional<CutOutlook> DriftEngine::outlookOfCut(const VORNTake &take,
                                                    const std::vector<CutDecision> &decisions)
{
    const auto [reference, rate] = takeBasis(take, stopAtRefusal);
    const double fps = rate.value();
    const auto prepared = preparations(take, reference, FileBytes::trust, {}, stopAtRefusal);
    const auto cut = directorCut(decisions, allOf(placements(prepared, fps, stopAtRefusal)), fps);
    return cut ? std::optional(cutOutlook(*cut, fps)) : std::nullopt;
}

} // namespace vorn
