// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sound/sound_features.h"

#include <vector>

namespace vorn {

/// A line on which several windows of one recording found themselves in another, to about 20 ms.
struct CoarseLine {
    double offsetSeconds = 0; ///< lag at second 0 of the reference
    double slope = 0;         ///< seconds that the lag grows a second
    int windows = 0;          ///< that lie on it

    bool operator==(const CoarseLine &) const = default;
};

/// Where windows of the shorter recording lie in the other, the line with the most windows first,
/// at most three. Empty when no two recordings of one moment look like this. Pure; takes a second
/// for an hour in an hour.
[[nodiscard]] std::vector<CoarseLine> coarseSearch(const SoundFeatures &reference,
                                                   const SoundFeatures &other);

} // namespace vorn
