// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "drift/placement.h"

#include <vector>

namespace vorn::DriftEngine {

/// A time as FCPXML writes it: numerator, slash, denominator, "s", by the last convergent of the
/// continued fraction whose denominator is at most 1,000,000. "0s" for what is not finite. Throws
/// DriftExportError (invalid) for a value whose numerator does not fit 64 bits.
[[nodiscard]] QString seconds(double value);

/// Replaces & " < and > by their entities.
[[nodiscard]] QString xmlEscape(const QString &text);

/// `text` with U+FFFD for every character that XML 1.0 cannot hold, not even as a reference
/// (production 2 of the recommendation): most control characters, U+FFFE, U+FFFF, lone surrogates.
[[nodiscard]] QString xmlText(const QString &text);

/// The file URL of an absolute path, percent-encoded so that it survives every URL parser.
[[nodiscard]] QString fileURLText(const QString &path);

/// The timeline of one take, FCPXML 1.7. `placements`, at least one, stand in the order of the
/// take's clips, as formats, assets and lanes will. The names must be xmlText. The same input gives
/// the same text. Throws DriftExportError (invalid) for times that `seconds` refuses.
[[nodiscard]] QString timelineDocument(const QString &projectName, const QString &takeId,
                                       double fps, const std::vector<Placement> &placements);

} // namespace vorn::DriftEngine
