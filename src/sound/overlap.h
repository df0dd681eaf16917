// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sound/sound_alignment.h"
#include "sound/sound_features.h"

#include <functional>
#include <variant>
#include <vector>

namespace vorn {

/// Sound of one recording from a second on, for so many seconds; less where it ends. What it throws
/// ends the search.
using SoundAt = std::function<std::vector<float>(double startSeconds, double seconds)>;

/// A recording as the search wants it.
struct HeardRecording {
    const SoundFeatures &features;
    SoundAt soundAt;
};

/// What one window of two recordings told.
struct HeardWindow {
    LagPoint point;
    double uniqueness = 0; ///< as of LagEstimate

    bool operator==(const HeardWindow &) const = default;
};

/// Where two recordings are of one moment.
struct Overlap {
    SoundLine line;         ///< from the reference's time to the lag of the other
    double fromSeconds = 0; ///< in the reference
    double toSeconds = 0;
    std::vector<HeardWindow> windows; ///< all that told a lag, in the order of their time

    bool operator==(const Overlap &) const = default;
};

/// Why two recordings are not taken to be of one moment.
enum class NoOverlap {
    nothingAlike, ///< no several places of one are found in the other
    tooShort,     ///< what they seem to share is too short to be sure
    inPart,       ///< some of it agrees, but not what lies between or beside: music played twice
    severalFit,   ///< they fit at more than one place
    cannotTell,   ///< what they share tells no lag
};

/// Finds where `other` lies in the time of `reference`, from any start and up to 1,000 ppm of
/// drift. Any thread; takes seconds, most of them in `soundAt`.
[[nodiscard]] std::variant<Overlap, NoOverlap> findOverlap(const HeardRecording &reference,
                                                           const HeardRecording &other);

} // namespace vorn
