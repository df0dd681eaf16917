// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "drift/placement.h"

#include <cstdint>
#include <vector>

namespace vorn::DriftEngine {

/// A time as FCPXML writes it: numerator, slash, denominator, "s", by the last convergent of the
/// continued fraction whose denominator is at most 1,000,000. "0s" for what is not finite. Throws
/// DriftExportError (invalid) for a value whose numerator does not fit 64 bits.
[[nodiscard]] QString seconds(double value);

/// The time of so many whole frames, an exact multiple of what `seconds` makes of a frame's
/// length, as FCPXML wants all edges of a sequence. Throws as `seconds` does.
[[nodiscard]] QString frameTime(std::int64_t frames, double fps);

/// Replaces & " < and > by their entities.
[[nodiscard]] QString xmlEscape(const QString &text);

/// `text` with U+FFFD for every character that XML 1.0 cannot hold, not even as a reference
/// (production 2 of the recommendation): most control characters, U+FFFE, U+FFFF, lone surrogates.
[[nodiscard]] QString xmlText(const QString &text);

/// The file URL of an absolute path, percent-encoded so that it survives every URL parser.
[[nodiscard]] QString fileURLText(const QString &path);

/// The two-point map of a clip from its own time on the timeline, which begins at 0, to its
/// media's.
[[nodiscard]] QString timeMap(const Placement &placement);

/// A document of one sequence, FCPXML 1.7, around the elements of its spine. `placements` give
/// formats and assets, numbered from 1 in their order. The names must be xmlText.
[[nodiscard]] QString fcpxmlDocument(const QString &eventName, const QString &sequenceName,
                                     double fps, const std::vector<Placement> &placements,
                                     const QString &length, const QString &spine);

} // namespace vorn::DriftEngine
