// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <variant>
#include <vector>

namespace vorn {

/// What one window of sound told.
struct LagPoint {
    double referenceSeconds = 0; ///< the middle of the window, in the reference's recording
    double lagSeconds = 0;       ///< positive: the other recording has it later
    double uncertaintySeconds = 0;

    bool operator==(const LagPoint &) const = default;
};

/// The straight line on which lags lie: what the reference has at t the other has at t + lagAt(t).
struct SoundLine {
    double offsetSeconds = 0; ///< the lag at second 0 of the reference
    double driftPPM = 0;      ///< how many millionths of a second the lag grows a second

    /// Of the points that agree, in their order.
    std::vector<LagPoint> points;
    double largestResidualSeconds = 0;
    /// Twice the standard error of the line where it is largest within the points, and at least the
    /// smallest uncertainty of a point.
    double uncertaintySeconds = 0;
    double driftUncertaintyPPM = 0; ///< twice the standard error

    [[nodiscard]] double lagAt(double referenceSeconds) const
    {
        return offsetSeconds + driftPPM * 1e-6 * referenceSeconds;
    }
    bool operator==(const SoundLine &) const = default;
};

/// Why lags make no line.
enum class NoLine {
    tooFew,   ///< too few windows told a lag
    disagree, ///< they told lags that lie on no line, or on one steeper than clocks drift
    bunched,  ///< those that agree lie in a part of the recording only
};

/// The line on which most of `points` lie, those aside that lie elsewhere. Refuses rather than
/// guesses. Pure.
[[nodiscard]] std::variant<SoundLine, NoLine> soundAlignment(std::span<const LagPoint> points);

/// Sound in air of 20 °C.
constexpr double soundMetresASecond = 343;

/// What lags that should be zero say of an alignment.
struct SoundJudgement {
    enum class Kind {
        steady,     ///< the same throughout, and no more than distance explains
        slipping,   ///< it changes by more than people move
        off,        ///< throughout more than distance explains
        cannotTell, ///< too few windows told a lag
    };

    Kind kind = Kind::cannotTell;
    double lagSeconds = 0;         ///< in the median; positive: late
    double headSeconds = 0;        ///< lag of the first window that told one
    double tailSeconds = 0;        ///< and of the last
    double changeSeconds = 0;      ///< between the least and the greatest
    double uncertaintySeconds = 0; ///< the largest of a window
    double metres = 0;             ///< the difference of distance that the median would come from

    bool operator==(const SoundJudgement &) const = default;
};

/// Judges `points` in the order of their time. Pure.
[[nodiscard]] SoundJudgement judgeAlignment(std::span<const LagPoint> points);

} // namespace vorn
