// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace vorn {

// Where phones and this program meet.

/// UDP, on this computer: cameras tell of themselves, and answer requests for Transfer Mode.
inline constexpr std::uint16_t statusPort = 45454;
/// TCP, on a camera: who it is, and its previews.
inline constexpr std::uint16_t previewPort = 45455;

} // namespace vorn
