// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "drift/director_cut.h"
#include "drift/export_steps.h"
#include "library/records.h"

namespace vorn {

/// Whether a package has copies of the recordings for editors that cannot read them.
enum class EditingCopies { none, make };

// Of a package.
inline constexpr QLatin1StringView timelineFileName("timeline.fcpxml");
inline constexpr QLatin1StringView directorCutFileName("director-cut.fcpxml");
inline constexpr QLatin1StringView copiesTimelineFileName("timeline-editing-copies.fcpxml");

namespace DriftEngine {

/// Makes a new folder in `parent` with "timeline.fcpxml", "alignment-report.json" and
/// "source-manifest.json", and returns its path. Where some of `decisions` have a place,
/// "director-cut.fcpxml" is the fourth. With editing copies there are these in "media", and
/// "timeline-editing-copies.fcpxml", the same timeline on them. All or nothing: whatever can be
/// refused is refused before the first byte is written, and a failure while writing takes the
/// folder away again. Recorded media is only read. `onProgress`, if given, is called on the calling
/// thread about once a mebibyte, and several times a second while copies are made; what it throws
/// ends the run. Throws DriftExportError, FileError and MediaProbeError. Blocks for as long as
/// hashing the media takes; any thread.
[[nodiscard]] QString exportPackage(const VORNProject &project, const VORNTake &take,
                                    const QString &parent, const OnExportProgress &onProgress = {},
                                    const std::vector<CutDecision> &decisions = {},
                                    EditingCopies copies = EditingCopies::none);

/// What an export of the take as it is would make of these decisions; absent where none has a
/// place. Reads no more of the recordings than their headers, and verifies none. Throws as
/// exportPackage does.
[[nodiscard]] std::optional<CutOutlook> outlookOfCut(const VORNTake &take,
                                                     const std::vector<CutDecision> &decisions);

} // namespace DriftEngine
} // namespace vorn
