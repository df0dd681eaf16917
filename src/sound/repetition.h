// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sound/sound_features.h"

#include <vector>

namespace vorn {

/// How far a recording resembles itself some time on.
struct Repetition {
    double seconds = 0;  ///< at least half a second
    double likeness = 0; ///< 1: it is the same again

    bool operator==(const Repetition &) const = default;
};

/// After which times a stretch of a recording swells as it did, where any stand out: those that do
/// so most, at most two. Music with a beat resembles itself, too, if less than a loop does. Pure.
[[nodiscard]] std::vector<Repetition> repetitionsIn(const SoundFeatures &features,
                                                    double fromSeconds, double toSeconds);

} // namespace vorn
