// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "drift/export_steps.h"

#include <QStringList>

namespace vorn {

/// What an export would refuse.
struct ExportFinding {
    std::optional<std::size_t> clip; ///< its place in the take; absent for the take as a whole
    QString sentence;                ///< as the export says it

    bool operator==(const ExportFinding &) const = default;
};

/// How far something that a clip and the reference camera both have lies apart on the timeline.
struct TimingPoint {
    double referenceSeconds = 0; ///< on the timeline
    double ms = 0;               ///< above 0: later than the reference camera has it

    bool operator==(const TimingPoint &) const = default;
};

/// What a witness other than the anchors says of a clip's line.
struct TimingWitness {
    enum class Verdict { cannotTell, holds, doubts };

    std::vector<TimingPoint> points;
    QString sentence; ///< what they come to
    Verdict verdict = Verdict::cannotTell;

    bool operator==(const TimingWitness &) const = default;
};

/// Where a clip will lie on the timeline, in seconds.
struct ClipPlace {
    double start = 0;
    double duration = 0;
    double headCut = 0; ///< of its own media, likewise the tail
    double tailCut = 0;

    bool operator==(const ClipPlace &) const = default;
};

/// What the check knows of one clip; absent is what could not be found out.
struct ClipCheck {
    QString clipId;
    QString cameraId;
    bool isReference = false;
    QString path;                        ///< of its file; empty when there is none
    std::optional<ProbedMedia> media;    ///< what an editor will meet
    std::optional<DriftCorrection> line; ///< of a refused fit the free one, where there is any
    bool isAligned = false;              ///< the line is that of the export
    double anchorUncertaintyMs = 0;      ///< the largest of the anchors'
    std::vector<TimingPoint> anchors;    ///< in the order of their times, against the line
    std::optional<ClipPlace> place;
    std::optional<TimingWitness> sound; ///< absent while nobody has listened

    bool operator==(const ClipCheck &) const = default;
};

/// What an export of a take would come to.
struct ExportCheck {
    std::vector<ExportFinding> findings; ///< in the order in which the export would meet them
    std::optional<double> fps;
    std::vector<ClipCheck> clips; ///< in the order of the take's

    bool operator==(const ExportCheck &) const = default;

    /// Where the picture of a clip ends: at the timeline's end or at the last anchor.
    [[nodiscard]] double seconds() const;
};

namespace DriftEngine {

/// Takes every step of an export but the writing, for every clip, and gives all that is refused.
/// The first finding is what the export would say; without one it would go through. Reads the
/// media as an export does, and reports as it does. Any thread.
[[nodiscard]] ExportCheck checkExport(const VORNProject &project, const VORNTake &take,
                                      const OnExportProgress &onProgress = {});

} // namespace DriftEngine
} // namespace vorn
