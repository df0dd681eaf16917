// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "drift/placement.h"

#include <vector>

namespace vorn::DriftEngine {

/// The timeline of one take, FCPXML 1.7. `placements`, at least one, stand in the order of the
/// take's clips, as formats, assets and lanes will. The names must be xmlText. The same input gives
/// the same text. Throws DriftExportError (invalid) for times that `seconds` refuses.
[[nodiscard]] QString timelineDocument(const QString &projectName, const QString &takeId,
                                       double fps, const std::vector<Placement> &placements);

} // namespace vorn::DriftEngine
