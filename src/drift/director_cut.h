// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "drift/placement.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace vorn {

/// Where a camera was in its recording, as far as was known.
struct RecordingMoment {
    QString cameraId;
    double seconds = 0;
    double uncertaintySeconds = 0; ///< either way

    bool operator==(const RecordingMoment &) const = default;
};

/// What a director decided while a take was recorded.
struct CutDecision {
    enum class Kind { cut, fade, marker };

    Kind kind = Kind::cut;
    double sessionSeconds = 0; ///< since the session began, by this computer's clock
    QString cameraId;          ///< on Program from then on; of a marker nothing
    double fadeSeconds = 0;
    QString label;                     ///< of a marker
    std::vector<RecordingMoment> then; ///< of the cameras that recorded this take

    bool operator==(const CutDecision &) const = default;
};

/// A decision on the timeline.
struct PlacedDecision {
    CutDecision decision;
    std::int64_t frame = 0; ///< may lie before the timeline's first, or behind its last
    /// How far off it may be, either way; absent where no camera tells and the place is told by
    /// the session's clock, from that of a neighbour.
    std::optional<double> withinSeconds;

    bool operator==(const PlacedDecision &) const = default;
};

/// In whole frames, with what the rounding to them adds, for one of which cameras tell.
[[nodiscard]] std::int64_t framesWithin(const PlacedDecision &placed, double fps);

/// What stands in the cut from one frame to the next piece's.
struct CutPiece {
    std::int64_t begin = 0;
    std::int64_t end = 0;
    std::optional<std::size_t> clip; ///< its place in the list of placements; absent for a gap
    QString gapReason;
    std::optional<std::size_t> decision; ///< that it begins with
    std::int64_t fadeFrames = 0;         ///< of the dissolve into it, half of them before `begin`

    bool operator==(const CutPiece &) const = default;
};

/// The cut of a take as its director made it, on whole frames.
struct DirectorCut {
    std::vector<PlacedDecision> decisions; ///< all, in their order
    std::vector<CutPiece> pieces;          ///< from frame 0 to the timeline's end, without holes

    bool operator==(const DirectorCut &) const = default;

    [[nodiscard]] std::int64_t frames() const { return pieces.back().end; }
    [[nodiscard]] bool contains(const PlacedDecision &placed) const
    {
        return placed.frame >= 0 && placed.frame < frames();
    }
};

/// How well a session's decisions can be placed on a take's timeline.
struct CutOutlook {
    std::size_t decisions = 0;      ///< that lie on it
    std::size_t bySessionClock = 0; ///< those of them of which no camera tells the place
    std::int64_t withinFrames = 0;  ///< how far off any of the others may be

    bool operator==(const CutOutlook &) const = default;
};

namespace DriftEngine {

/// Lays `decisions`, in the order in which they were made, on the timeline of `placements`, at
/// least one, whose media are those of one take. Each camera that recorded gives one estimate of
/// the reference time, through its clip's line; the median counts. Absent where no decision has an
/// estimate. Any thread.
[[nodiscard]] std::optional<DirectorCut> directorCut(const std::vector<CutDecision> &decisions,
                                                     const std::vector<Placement> &placements,
                                                     double fps);

[[nodiscard]] CutOutlook cutOutlook(const DirectorCut &cut, double fps);

} // namespace DriftEngine
} // namespace vorn
