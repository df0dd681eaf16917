// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "library/records.h"

#include <optional>
#include <vector>

namespace vorn {

/// The straight line from a clip's media time to the reference camera's:
/// reference seconds = offsetSeconds + referenceSecondsPerSourceSecond * source seconds.
/// The default value is the identity, which is the reference camera's own.
struct DriftCorrection {
    double offsetSeconds = 0;
    double referenceSecondsPerSourceSecond = 1;
    double driftPPM = 0;              ///< (slope - 1) * 1,000,000
    double maxResidualMs = 0;         ///< of the free linear fit, also when not retimed
    double endpointUncertaintyMs = 0; ///< maxResidualMs + 2 * largest uncertainty of an anchor
    bool retime = false; ///< the drift over the clip exceeds twice endpointUncertaintyMs

    bool operator==(const DriftCorrection &) const = default;
};

namespace DriftEngine {

/// Only anchors of this meaning say where a clip lies in the reference camera's media.
inline constexpr QStringView alignableMeaning = u"same-event-reference-media-seconds";

/// How far an anchor may be from the free linear fit.
inline constexpr double maximumResidualMs = 5.0;

/// Fits `anchors`, in any order, of a clip of `duration` seconds of media. Refuses rather than
/// guesses: throws DriftExportError (invalid) for a list that is thin, out of range, badly spread
/// or nonlinear. Any thread.
[[nodiscard]] DriftCorrection fit(const std::vector<TimingAnchor> &anchors, double duration);

/// The line that the gate for residuals is held against, however far `anchors` are from it: that of
/// all of them that are numbers. Absent where they give none.
[[nodiscard]] std::optional<DriftCorrection> freeLine(const std::vector<TimingAnchor> &anchors);

/// How much later than the reference camera the clip has the anchor's event, laid by this line.
[[nodiscard]] double latenessMs(const TimingAnchor &anchor, const DriftCorrection &line);

} // namespace DriftEngine
} // namespace vorn
