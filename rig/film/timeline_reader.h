// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

namespace vorn::rig {

/// A clip as an editor understands the timeline, all times in seconds: at timeline time
/// startSeconds + t it shows the media's second that lies t / durationSeconds of the way from
/// sourceStartSeconds to sourceEndSeconds.
struct TimelineClip {
    QString cameraId;
    QString moviePath; ///< absolute
    double startSeconds = 0;
    double durationSeconds = 0;
    double sourceStartSeconds = 0;
    double sourceEndSeconds = 0;

    [[nodiscard]] double endSeconds() const { return startSeconds + durationSeconds; }
    [[nodiscard]] double sourceSecondsPerSecond() const
    {
        return (sourceEndSeconds - sourceStartSeconds) / durationSeconds;
    }
    [[nodiscard]] double sourceSeconds(double timelineSeconds) const
    {
        return sourceStartSeconds + (timelineSeconds - startSeconds) * sourceSecondsPerSecond();
    }
};

struct Timeline {
    double framesPerSecond = 0;
    std::vector<TimelineClip> clips;
};

/// Reads an FCPXML timeline whose clips hang on one gap and carry linear time maps of two points.
/// Throws RigError for one that is no XML, or cannot be followed.
[[nodiscard]] Timeline readTimeline(const QByteArray &document);

} // namespace vorn::rig
