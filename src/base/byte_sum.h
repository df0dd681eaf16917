// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <limits>

namespace vorn {

/// The sum of two sizes, neither below 0; what 64 bits cannot hold counts as the most that they
/// can. Sizes that others have stated may be anything.
[[nodiscard]] constexpr std::int64_t byteSum(std::int64_t a, std::int64_t b) noexcept
{
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    return a > most - b ? most : a + b;
}

} // namespace vorn
