// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <variant>
#include <vector>

namespace vorn {

/// A lag is told where its peak is higher than the next by so much.
constexpr double leastUniqueness = 1.4;

/// How much later one recording has what another has, too.
struct LagEstimate {
    double seconds = 0;            ///< positive: the other is later than the reference
    double uncertaintySeconds = 0; ///< half the width within which it lies
    /// The highest peak over the next that is not its own flank, or by which a recording resembles
    /// itself at another time.
    double uniqueness = 0;

    bool operator==(const LagEstimate &) const = default;
};

/// Why two windows of sound tell no lag.
enum class NoLag {
    tooQuiet,        ///< one of them is silent, or nearly
    clipped,         ///< so loud that the waves are cut off, and nothing stands out
    tonal,           ///< hum or a steady tone, which is the same at every turn
    repeats,         ///< it fits at more than one place
    noPeakStandsOut, ///< no place fits better than chance
};

using Lag = std::variant<LagEstimate, NoLag>;

/// Looks for the lag between two windows at soundRate that began at the same moment, up to
/// `greatestLagSeconds` either way: generalised cross-correlation with phase transform. The windows
/// should last eight seconds, and 20 times as long as the lag is large. Pure.
[[nodiscard]] Lag lagBetween(std::span<const float> reference, std::span<const float> other,
                             double greatestLagSeconds);

/// How far what two windows have in step, to a millisecond, stands over the level of a tenth of a
/// second about it: up to 4 by chance. For who knows where it has to be.
[[nodiscard]] double standingInStep(std::span<const float> reference, std::span<const float> other);

} // namespace vorn
