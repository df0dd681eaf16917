// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>

namespace vorn {

/// What one recording has and the other, by how loud it has the rest, would have to have.
struct MissingTones {
    int expected = 0; ///< tones that would stand out in the other
    int missing = 0;  ///< of them, those that it lacks

    MissingTones &operator+=(const MissingTones &more)
    {
        expected += more.expected;
        missing += more.missing;
        return *this;
    }
};

/// Looks in `other` for what stands out in `one`, partials of music and voices; both begin at the
/// same moment, to a hundredth of a second. Walls swallow some tones, talk beside music that was
/// played twice lacks nearly all of its own. Pure.
[[nodiscard]] MissingTones missingTones(std::span<const float> one, std::span<const float> other);

} // namespace vorn
