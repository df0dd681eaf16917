// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "drift/director_cut.h"

namespace vorn::DriftEngine {

/// The cut of a take, FCPXML 1.7: its pieces in the spine, picture alone; the sound of
/// `soundClip`, a place in `placements`, in one piece under them, if given; and below, switched
/// off, the clips of all cameras. A piece has its camera's whole time map, as in the take's
/// timeline, and a start within it, so that each side of a dissolve has its material. `placements`
/// are those of the cut; the names must be xmlText. The same input gives the same text. Throws
/// DriftExportError (invalid) for times that `seconds` refuses.
[[nodiscard]] QString directorCutDocument(const QString &projectName, const QString &takeId,
                                          double fps, const std::vector<Placement> &placements,
                                          const DirectorCut &cut,
                                          std::optional<std::size_t> soundClip);

} // namespace vorn::DriftEngine
