// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <cstdint>
#include <optional>

namespace vorn::rig {

/// Frames per second as a ratio, so that frame times are exact.
struct FrameRate {
    std::int64_t numerator = 30;
    std::int64_t denominator = 1;

    [[nodiscard]] double perSecond() const { return double(numerator) / double(denominator); }
    /// Media time of frame `index`.
    [[nodiscard]] double seconds(std::int64_t index) const
    {
        return double(index * denominator) / double(numerator);
    }

    bool operator==(const FrameRate &) const = default;
};

/// "30" for whole rates, else "30000/1001".
[[nodiscard]] QString frameRateText(const FrameRate &rate);

/// Reads what frameRateText writes; absent for any other text and for rates outside 10 to 120.
[[nodiscard]] std::optional<FrameRate> frameRateFromText(const QString &text);

} // namespace vorn::rig
