// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/film/timeline_reader.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace vorn::rig {

/// A stretch of the cut. Each begins where the one before it ends.
struct TimelinePiece {
    std::int64_t startFrame = 0;
    std::int64_t frames = 0;
    std::optional<TimelineClip> clip; ///< what it shows; absent for a gap
    QString note;

    [[nodiscard]] std::int64_t endFrame() const { return startFrame + frames; }
    /// Empty for a gap.
    [[nodiscard]] QString cameraId() const { return clip ? clip->cameraId : QString(); }
};

/// A dissolve across the edge in its middle.
struct CutTransition {
    QString name;
    std::int64_t startFrame = 0;
    std::int64_t frames = 0;

    [[nodiscard]] std::int64_t endFrame() const { return startFrame + frames; }
    [[nodiscard]] std::int64_t edgeFrame() const { return startFrame + frames / 2; }
};

struct CutMarker {
    std::int64_t frame = 0;
    QString label;
};

/// A director's cut as an editor understands it. Frames count from the timeline's beginning.
struct CutTimeline {
    double framesPerSecond = 0;
    std::vector<TimelinePiece> pieces;
    std::vector<CutTransition> transitions;
    std::vector<CutMarker> markers;    ///< in the order of time
    std::optional<TimelineClip> sound; ///< what is heard throughout
    std::vector<TimelineClip> lanes;   ///< each camera's whole clip, switched off
};

/// Reads an FCPXML timeline whose spine holds pieces of cameras, gaps and dissolves, and whose
/// first piece carries the sound and the cameras' whole clips. Throws RigError for one that is no
/// XML, in which an editor would find something else to show than a piece says, or that an editor
/// refuses: gaps and overlaps in the spine, times off the frame, dissolves without material, clips
/// without asset, pieces that show something else than their camera's lane.
[[nodiscard]] CutTimeline readCutTimeline(const QByteArray &document);

} // namespace vorn::rig
