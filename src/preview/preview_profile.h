// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>

namespace vorn {

/// What a stream of preview frames is for. The names are its values as text.
enum class VORNPreviewProfile {
    wall,     ///< small frames, of every camera
    selected, ///< large frames, of the cameras that are looked at
};

/// How frames come: over one connection that stays, or over a new one for each frame.
enum class Transport { persistent, legacy };

/// The bytes that ask a camera for frames of that profile: for a stream, and for one frame.
[[nodiscard]] constexpr std::array<std::byte, 2> requestModes(VORNPreviewProfile profile)
{
    switch (profile) {
    case VORNPreviewProfile::wall:
        return {std::byte{4}, std::byte{1}};
    case VORNPreviewProfile::selected:
        break;
    }
    return {std::byte{5}, std::byte{2}};
}

[[nodiscard]] constexpr std::byte persistentMode(VORNPreviewProfile profile)
{
    return requestModes(profile)[0];
}

[[nodiscard]] constexpr std::byte legacyMode(VORNPreviewProfile profile)
{
    return requestModes(profile)[1];
}

} // namespace vorn
