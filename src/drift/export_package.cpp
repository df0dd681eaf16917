// SPDX-License-Identifier: Apache-2.0

#include "drift/export_package.h"

#include "base/byte_sum.h"
#include "base/digest.h"
#include "base/files.h"
#include "drift/alignment_report.h"
#include "drift/director_cut_document.h"
#include "drift/drift_error.h"
#include "drift/fcpxml_text.h"
#include "drift/package_folder.h"
#include "drift/placement.h"
#include "drift/rate_text.h"
#include "drift/timeline_document.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

using OnProgress = std::function<void(const ExportProgress &)>;

constexpr QLatin1StringView reportFileName("alignment-report.json");
constexpr QLatin1StringView manifestFileName("source-manifest.json");
constexpr std::array packageFileNames{timelineFileName, reportFileName, manifestFileName,
                                      directorCutFileName};

// Only anchors of this meaning say where a clip lies in the reference camera's media.
constexpr QStringView alignableMeaning = u"same-event-reference-media-seconds";

QString requiredReferenceCamera(const VORNTake &take)
{
    if (take.clips.empty())
        throw DriftExportError::missing(u"The selected take has no clips."_s);
    if (!take.referenceCameraId
        || std::ranges::find(take.clips, *take.referenceCameraId, &VORNClip::cameraId)
               == take.clips.end())
        throw DriftExportError::missing(u"Choose a reference camera before export."_s);
    return *take.referenceCameraId;
}

/// Paths need no such check: percent-encoding leaves nothing of them that XML could refuse.
void requireXmlText(const QString &subject, const QString &text)
{
    const QString possible = DriftEngine::xmlText(text);
    if (possible != text)
        throw DriftExportError::invalid(
            subject + u" \""_s + possible
            + u"\" holds a control character or another character that the timeline document "
              "cannot hold (shown as \uFFFD). Rename it before export."_s);
}

void requireXmlNames(const VORNProject &project, const VORNTake &take)
{
    requireXmlText(u"The project name"_s, project.name);
    requireXmlText(u"The take id"_s, take.id);
    for (const VORNClip &clip : take.clips)
        requireXmlText(u"The camera id"_s, clip.cameraId);
}

QString packageName(const VORNProject &project, const VORNTake &take, const QDateTime &localTime)
{
    QString name =
        u"VORN_"_s + project.id + u'_' + take.id + u'_' + localTime.toString(u"yyyyMMdd-HHmmss");
    return name.replace(u'/', u'-');
}

/// 0 for what is not there: that is refused when the clip's turn comes.
std::int64_t sizeOnDisk(const VORNClip &clip)
{
    return clip.localPath && fileExists(*clip.localPath) ? QFileInfo(*clip.localPath).size() : 0;
}

/// A relative path would become a host name in the timeline's file URL.
QString absolutePath(const QString &path)
{
    return path.startsWith(u'/') ? path : QDir::currentPath() + u'/' + path;
}

QString digestOf(const QString &path, const std::function<void(std::int64_t)> &onBytes)
{
    if (!QFileInfo(path).isReadable())
        throw DriftExportError::missing(u"Cannot open "_s + path + u'.');
    return sha256OfFile(path, onBytes);
}

DriftCorrection correctionOf(const VORNClip &clip, const QString &referenceCameraId,
                             double duration)
{
    if (clip.cameraId == referenceCameraId)
        return {};
    if (clip.anchorMeaning != alignableMeaning)
        throw DriftExportError::invalid(clip.cameraId
                                        + u" does not have same-event media anchors."_s);
    return DriftEngine::fit(clip.anchors, duration);
}

/// A clip whose file is there.
Prepared located(const VORNClip &clip)
{
    if (!clip.localPath)
        throw DriftExportError::missing(clip.cameraId + u" has not been downloaded."_s);
    if (!fileExists(*clip.localPath))
        throw DriftExportError::missing(u"Missing source: "_s + *clip.localPath);
    Prepared item;
    item.clip = clip;
    item.path = absolutePath(*clip.localPath);
    return item;
}

void measure(Prepared &item, const QString &referenceCameraId)
{
    item.media = DriftEngine::mediaInfo(item.path);
    item.correction = correctionOf(item.clip, referenceCameraId, item.media.duration);
}

/// Verifies a clip's file from its bytes and works out its line.
Prepared prepared(const VORNClip &clip, const QString &referenceCameraId,
                  const std::function<void(std::int64_t)> &onBytes)
{
    Prepared item = located(clip);
    item.digest = digestOf(item.path, onBytes);
    if (item.digest.compare(clip.sha256, Qt::CaseInsensitive) != 0)
        throw DriftExportError::invalid(u"Checksum mismatch for "_s + clip.cameraId + u'.');
    measure(item, referenceCameraId);
    return item;
}

std::vector<Prepared> preparedClips(const VORNTake &take, const QString &referenceCameraId,
                                    const OnProgress &onProgress)
{
    ExportProgress progress;
    progress.clipCount = std::size_t(take.clips.size());
    for (const VORNClip &clip : take.clips)
        progress.totalBytes = byteSum(progress.totalBytes, sizeOnDisk(clip));

    std::vector<Prepared> items;
    std::int64_t bytesBefore = 0;
    for (const VORNClip &clip : take.clips) {
        progress.cameraId = clip.cameraId;
        progress.clipIndex = items.size();
        const auto report = [&](std::int64_t bytes) {
            progress.completedBytes = byteSum(bytesBefore, bytes);
            if (onProgress)
                onProgress(progress);
        };
        items.push_back(prepared(clip, referenceCameraId, report));
        bytesBefore = progress.completedBytes;
    }
    return items;
}

AlignmentReport alignmentReport(const VORNProject &project, const VORNTake &take,
                                const QString &referenceCameraId,
                                const std::vector<Prepared> &items)
{
    AlignmentReport report;
    report.projectId = project.id;
    report.takeId = take.id;
    report.referenceCameraId = referenceCameraId;
    for (const Prepared &item : items)
        report.clips.push_back(
            {.cameraId = item.clip.cameraId,
             .path = item.path,
             .sha256 = item.digest,
             .media = item.media,
             .correction = item.correction,
             .playbackSpeedPercent = 100 / item.correction.referenceSecondsPerSourceSecond});
    return report;
}

/// The take as an import would read it; digests as the library holds them.
SourceManifest sourceManifest(const VORNProject &project, const VORNTake &take,
                              const QString &referenceCameraId, const std::vector<Prepared> &items)
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
    for (const Prepared &item : items) {
        const VORNClip &clip = item.clip;
        manifest.clips.push_back({.clipId = clip.id,
                                  .cameraId = clip.cameraId,
                                  .takeId = take.id,
                                  .path = item.path,
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

std::vector<Placement> placements(const std::vector<Prepared> &items, double fps)
{
    std::vector<Placement> result;
    result.reserve(items.size());
    for (const Prepared &item : items)
        result.push_back(DriftEngine::placement(item, fps));
    return result;
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
                                   const QString &parent, const OnProgress &onProgress,
                                   const std::vector<CutDecision> &decisions)
{
    const QString referenceCameraId = requiredReferenceCamera(take);
    const double fps = fpsValue(take.timelineFPS);
    requireXmlNames(project, take);

    const QString folder = parent + u'/' + packageName(project, take, QDateTime::currentDateTime());
    if (somethingExistsAt(folder))
        throw DriftExportError::invalid(u"Export destination already exists."_s);

    const std::vector<Prepared> items = preparedClips(take, referenceCameraId, onProgress);
    const std::vector<Placement> placed = placements(items, fps);
    const AlignmentReport report = alignmentReport(project, take, referenceCameraId, items);
    const SourceManifest manifest = sourceManifest(project, take, referenceCameraId, items);
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
    const QString referenceCameraId = requiredReferenceCamera(take);
    const double fps = fpsValue(take.timelineFPS);
    std::vector<Prepared> items;
    for (const VORNClip &clip : take.clips) {
        items.push_back(located(clip));
        measure(items.back(), referenceCameraId);
    }
    const auto cut = directorCut(decisions, placements(items, fps), fps);
    return cut ? std::optional(cutOutlook(*cut, fps)) : std::nullopt;
}

} // namespace vorn
