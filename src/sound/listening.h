// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sound/lag.h"
#include "sound/sound_alignment.h"

#include <QString>

#include <functional>
#include <optional>
#include <stop_token>
#include <vector>

namespace vorn {

/// A recording as a timeline has it: what it has at second s of its own stands at
/// offsetSeconds + timelineSecondsPerSecond * s.
struct LaidRecording {
    QString path;
    double offsetSeconds = 0;
    double timelineSecondsPerSecond = 1;
    double beginSeconds = 0; ///< of its part on the timeline
    double endSeconds = 0;
};

/// What was heard of two recordings at the places that a timeline shows together.
struct Listening {
    std::vector<LagPoint> points; ///< by the timeline's seconds; positive: later
    SoundJudgement judgement;
    std::optional<NoLag> commonNoLag; ///< why most of the other places told nothing
    int places = 0;                   ///< listened to

    bool operator==(const Listening &) const = default;
};

/// Listens at head, quarter points and tail of what both have. `onPlace` hears before each place of
/// how many there are, on the calling thread; what it throws ends the work. Blocks; any thread.
/// Throws what readSound throws.
[[nodiscard]] Listening listen(const LaidRecording &reference, const LaidRecording &other,
                               const std::stop_token &stop,
                               const std::function<void(int place, int places)> &onPlace = {});

/// It in plain words, on a timeline of `fps` frames a second.
[[nodiscard]] QString listeningText(const Listening &listening, double fps);

} // namespace vorn
