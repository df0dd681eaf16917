// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/film/cut_reader.h"
#include "rig/film/shown_picture.h"

#include <optional>
#include <vector>

/// What an editor shows on both sides of an edge of the cut.
namespace vorn::rig {

/// The last picture of a piece, or its first.
struct CutSide {
    QString cameraId; ///< of the piece; empty for a gap, which has no picture
    double timelineSeconds = 0;
    double mediaFrameSeconds = 0; ///< length of a frame of its movie
    std::optional<ShownPicture> shown;

    /// Why it is not what it must be, a sentence; or empty.
    [[nodiscard]] QString fault() const;
    /// For a table: the camera and the scene second that it shows, the frame of the movie.
    [[nodiscard]] QString text() const;
};

struct CutSides {
    CutSide left;
    CutSide right;
};

/// Looks at both sides of the edge before that piece. Decodes up to two pictures. Throws RigError.
[[nodiscard]] CutSides lookAtEdge(const CutTimeline &cut, std::size_t piece,
                                  const TakeTruth &truth);

/// Writes both pictures next to each other, with a line that tells what they are. Throws RigError.
void writeSides(const CutSides &sides, const QString &path);

} // namespace vorn::rig
