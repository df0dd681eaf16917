// SPDX-License-Identifier: Apache-2.0

#include "drift/export_check.h"

#include "drift/timeline_document.h"

#include <algorithm>
#include <cmath>

namespace vorn {
namespace {

/// The line of the export where there is one, else what the anchors give without its gates.
void describeLine(ClipCheck &check, const DriftEngine::Preparation &prepared)
{
    const std::vector<TimingAnchor> &anchors = prepared.item.clip.anchors;
    check.isAligned = prepared.hasLine;
    if (prepared.hasLine)
        check.line = prepared.item.correction;
    else if (!check.isReference)
        check.line = DriftEngine::freeLine(anchors);
    if (!check.line || check.isReference)
        return;
    for (const TimingAnchor &anchor : anchors) {
        const TimingPoint point{anchor.referenceSeconds,
                                DriftEngine::latenessMs(anchor, *check.line)};
        check.anchorUncertaintyMs = std::max(check.anchorUncertaintyMs, anchor.uncertaintyMs);
        if (std::isfinite(point.referenceSeconds) && std::isfinite(point.ms))
            check.anchors.push_back(point);
    }
    std::ranges::stable_sort(check.anchors, {}, &TimingPoint::referenceSeconds);
}

ClipCheck clipCheck(const DriftEngine::Preparation &prepared,
                    const std::optional<QString> &referenceCameraId,
                    const std::optional<Placement> &placement)
{
    const Prepared &item = prepared.item;
    ClipCheck check;
    check.clipId = item.clip.id;
    check.cameraId = item.clip.cameraId;
    check.isReference = referenceCameraId == item.clip.cameraId;
    check.path = item.path;
    check.media = prepared.probed;
    describeLine(check, prepared);
    if (placement)
        check.place = {.start = placement->start,
                       .duration = placement->duration,
                       .headCut = placement->sourceStart,
                       .tailCut = item.media.duration - placement->sourceEnd};
    return check;
}

} // namespace

double ExportCheck::seconds() const
{
    double end = 0;
    for (const ClipCheck &clip : clips) {
        if (clip.place)
            end = std::max(end, clip.place->start + clip.place->duration);
        if (!clip.anchors.empty())
            end = std::max(end, clip.anchors.back().referenceSeconds);
    }
    return end;
}

ExportCheck DriftEngine::checkExport(const VORNProject &project, const VORNTake &take,
                                     const OnExportProgress &onProgress)
{
    ExportCheck check;
    const OnRefusal note = [&check](std::optional<std::size_t> clip, const auto &refusal) {
        try {
            std::rethrow_exception(refusal);
        } catch (const std::exception &error) {
            check.findings.push_back({clip, QString::fromUtf8(error.what())});
        }
    };
    const TakeBasis basis = takeBasis(take, note);
    requireXmlNames(project, take, note);
    check.fps = basis.fps;
    const auto prepared =
        preparations(take, basis.referenceCameraId, FileBytes::verify, onProgress, note);
    std::vector<std::optional<Placement>> placed(prepared.size());
    if (basis.fps)
        placed = placements(prepared, *basis.fps, note);

    std::vector<Placement> placedClips;
    for (std::size_t index = 0; index < prepared.size(); ++index) {
        check.clips.push_back(clipCheck(prepared[index], basis.referenceCameraId, placed[index]));
        if (const auto &placement = placed[index])
            placedClips.push_back(*placement);
    }
    if (!placedClips.empty()) // times beyond what the document can say
        attempt(note, {},
                [&] { (void)timelineDocument(project.name, take.id, *basis.fps, placedClips); });
    return check;
}

} // namespace vorn
