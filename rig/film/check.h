// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QJsonObject>
#include <QString>

#include <array>
#include <vector>

/// Measures how well an exported package aligns its cameras, by looking at the pictures.
///
/// For each camera three frames of the timeline are picked where it and the reference camera both
/// lie: the first, the middle one and the last. Each is taken through the clip's time map to a
/// moment m of the camera's own media, as an editor does, and the frame that stands there is
/// decoded: the last one that begins at or before m. Its counter tells which scene time S it shows.
/// That frame began at p <= m, so at m the camera had come to S + (m - p) * (1 + drift): what is
/// left out by the grid of frames is put back, and does not count as an error. Timeline time is the
/// reference camera's media time and so is scene time, hence
///
///     error = S + (m - p) * (1 + drift) - timeline time
///
/// above 0 when the camera runs ahead of the reference. The truth file gives rate and drift; the
/// scene time comes from the picture, and must be the one that the truth promises for that frame.
///
/// What stands farther from the sound hears it later. Who aligns by sound cannot tell that from an
/// offset, so there the error is what is left of it when the delay by the truth has been taken
/// away.
namespace vorn::rig {

/// By what the cameras of a package were aligned.
enum class AlignedBy {
    anchors, ///< that phones noted
    sound,   ///< that all heard
};

struct AlignmentPoint {
    double timelineSeconds = 0;
    double errorSeconds = 0;
};

struct CameraAlignment {
    QString cameraId;
    double distanceSeconds = 0;           ///< that its errors had more, for its distance
    std::array<AlignmentPoint, 3> points; ///< head, middle, tail
};

/// What to measure, and by what to judge it.
struct AlignmentQuestion {
    QString packageFolder;
    QString truthPath;
    QString timelineName = QStringLiteral("timeline.fcpxml"); ///< in the package
    AlignedBy by = AlignedBy::anchors;
    double boundFrames = 1; ///< that a camera may lie off
};

struct AlignmentCheck {
    double framesPerSecond = 0; ///< of the timeline
    AlignedBy by = AlignedBy::anchors;
    double boundFrames = 1;
    std::vector<CameraAlignment> cameras;

    [[nodiscard]] double errorFrames(const AlignmentPoint &point) const
    {
        return point.errorSeconds * framesPerSecond;
    }
    [[nodiscard]] bool isWithinBound() const;
};

/// Measures a timeline of a package against a truth file. Throws RigError or FileError when either
/// cannot be read, when they are not of one take, or when a camera is missing. Decodes three
/// pictures for each camera.
[[nodiscard]] AlignmentCheck checkAlignment(const AlignmentQuestion &question);

/// A table for the terminal.
[[nodiscard]] QString alignmentText(const AlignmentCheck &check);

[[nodiscard]] QJsonObject alignmentJson(const AlignmentCheck &check);

} // namespace vorn::rig
