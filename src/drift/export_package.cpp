// SPDX-License-Identifier: Apache-2.0

#include "drift/export_package.h"

#include "base/byte_sum.h"
#include "base/files.h"
#include "drift/alignment_report.h"
#include "drift/director_cut_document.h"
#include "drift/drift_error.h"
#include "drift/editing_copy.h"
#include "drift/export_steps.h"
#include "drift/package_folder.h"
#include "drift/timeline_document.h"

#include <QDateTime>
#include <QDir>
#include <QStorageInfo>

#include <algorithm>
#include <array>
#include <iterator>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

constexpr QLatin1StringView reportFileName("alignment-report.json");
constexpr QLatin1StringView manifestFileName("source-manifest.json");
constexpr std::array packageFileNames{timelineFileName, reportFileName, manifestFileName,
                                      directorCutFileName, copiesTimelineFileName};

QString packageName(const VORNProject &project, const VORNTake &take, const QDateTime &localTime)
{
    QString name =
        u"VORN_"_s + project.id + u'_' + take.id + u'_' + localTime.toString(u"yyyyMMdd-HHmmss");
    return name.replace(u'/', u'-');
}

/// What a step found: where it did not, it has thrown.
template <class Found> Found foundBy(const std::optional<Found> &step)
{
    if (!step)
        throw std::logic_error("A step refused and did not end the export.");
    return *step;
}

std::vector<Placement> allOf(const std::vector<std::optional<Placement>> &placements)
{
    std::vector<Placement> result;
    std::ranges::transform(placements, std::back_inserter(result), foundBy<Placement>);
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

std::vector<EditingCopySource> copySources(const std::vector<Placement> &placements)
{
    (void)EditingCopy::maker();
    std::vector<EditingCopySource> sources;
    sources.reserve(placements.size());
    for (const Placement &placement : placements) {
        const Prepared &item = placement.item;
        sources.push_back(EditingCopy::source(item.clip.cameraId, item.path, item.media));
    }
    return sources;
}

/// Where nothing is known of it, the copies are tried.
void requireRoom(const QString &parent, std::int64_t bytes)
{
    const QStorageInfo storage(parent);
    const qint64 available = storage.isValid() ? storage.bytesAvailable() : -1;
    if (available >= 0 && available < bytes)
        throw DriftExportError::invalid(
            u"The editing copies take about %1 GB, and %2 has %3 GB left."_s.arg(
                QString::number(double(bytes) / 1e9, 'f', 1), parent,
                QString::number(double(available) / 1e9, 'f', 1)));
}

/// The timeline as it is, on the copies in the package at `folder`.
std::vector<Placement> onCopies(std::vector<Placement> placements, const QString &folder)
{
    for (std::size_t index = 0; index < placements.size(); ++index) {
        Prepared &item = placements[index].item;
        item.path = QDir::current().absoluteFilePath(folder) + u'/' + mediaFolderName + u'/'
                    + EditingCopy::fileName(index + 1, item.clip.cameraId);
    }
    return placements;
}

void makeCopies(const std::vector<EditingCopySource> &sources, const QString &folder,
                const OnExportProgress &onProgress)
{
    ExportProgress progress;
    progress.stage = ExportProgress::Stage::copying;
    progress.clipCount = sources.size();
    for (const EditingCopySource &source : sources)
        progress.totalBytes = byteSum(progress.totalBytes, source.bytes);
    std::int64_t bytesBefore = 0;
    for (std::size_t index = 0; index < sources.size(); ++index) {
        const EditingCopySource &source = sources[index];
        progress.cameraId = source.cameraId;
        progress.clipIndex = index;
        EditingCopy::make(source, folder + u'/' + EditingCopy::fileName(index + 1, source.cameraId),
                          [&](std::int64_t bytes) {
                              progress.completedBytes =
                                  byteSum(bytesBefore, std::min(bytes, source.bytes));
                              if (onProgress)
                                  onProgress(progress);
                          });
        bytesBefore = byteSum(bytesBefore, source.bytes);
    }
}

} // namespace

QString DriftEngine::exportPackage(const VORNProject &project, const VORNTake &take,
                                   const QString &parent, const OnExportProgress &onProgress,
                                   const std::vector<CutDecision> &decisions, EditingCopies copies)
{
    const auto [reference, rate] = takeBasis(take, stopAtRefusal);
    const QString referenceCameraId = foundBy(reference);
    const double fps = foundBy(rate);
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
                      PackageFile{reportFileName, jsonFromRecord(report)},
                      PackageFile{manifestFileName, jsonFromRecord(manifest)}};
    if (const auto cut = directorCut(decisions, placed, fps))
        files.push_back(
            {directorCutFileName, directorCutDocument(project.name, take.id, fps, placed, *cut,
                                                      soundClip(placed, referenceCameraId))
                                      .toUtf8()});
    if (copies == EditingCopies::none) {
        writePackage(folder, files, packageFileNames);
        return folder;
    }
    const std::vector<EditingCopySource> sources = copySources(placed);
    std::int64_t bytes = 0;
    for (const EditingCopySource &source : sources)
        bytes = byteSum(bytes, source.bytes);
    requireRoom(parent, bytes);
    files.push_back(
        {copiesTimelineFileName,
         timelineDocument(project.name, take.id, fps, onCopies(placed, folder)).toUtf8()});
    writePackage(folder, files, packageFileNames,
                 [&](const QString &media) { makeCopies(sources, media, onProgress); });
    return folder;
}

std::optional<CutOutlook> DriftEngine::outlookOfCut(const VORNTake &take,
                                                    const std::vector<CutDecision> &decisions)
{
    const auto [reference, rate] = takeBasis(take, stopAtRefusal);
    const double fps = foundBy(rate);
    const auto prepared = preparations(take, reference, FileBytes::trust, {}, stopAtRefusal);
    const auto cut = directorCut(decisions, allOf(placements(prepared, fps, stopAtRefusal)), fps);
    return cut ? std::optional(cutOutlook(*cut, fps)) : std::nullopt;
}

} // namespace vorn
