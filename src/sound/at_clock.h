// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstddef>
#include <span>
#include <vector>

namespace vorn {

/// `count` samples of `sound` at a clock that runs (1 + slope) times as fast, by its nearest
/// samples: half of one is off by chance, and small against the waves that count.
[[nodiscard]] inline std::vector<float> atClock(std::span<const float> sound, double slope,
                                                std::size_t count)
{
    std::vector<float> result(count);
    for (std::size_t at = 0; at < count; ++at) {
        const auto from = std::size_t(std::llround(double(at) * (1 + slope)));
        result[at] = from < sound.size() ? sound[from] : 0;
    }
    return result;
}

} // namespace vorn
