// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/film/counter.h"
#include "rig/film/take_documents.h"
#include "rig/film/timeline_reader.h"

#include <QImage>

#include <optional>

/// What an editor shows of a clip at one moment of the timeline, looked up in its movie.
namespace vorn::rig {

struct ShownPicture {
    std::int64_t frame = 0; ///< of the movie
    QImage picture;
    std::optional<CounterReading> reading; ///< absent when it is not legible
    /// What the camera has come to at that moment, which may be later than its picture; by what the
    /// picture shows, so only for one without fault.
    double sceneSeconds = 0;
    QString fault; ///< why it is not the picture that the truth promises, a sentence; or empty
};

/// The picture that stands there: the last one that begins at or before that moment of its media.
/// Before the first and after the last an editor holds that one; the time map is as wrong there as
/// it says, so only the choice of the frame is bounded. Throws RigError when it cannot be decoded.
[[nodiscard]] ShownPicture shownPicture(const TimelineClip &clip, const PhoneTruth &truth,
                                        double timelineSeconds);

} // namespace vorn::rig
