// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/live_camera.h"

#include <QString>

#include <cstddef>
#include <set>
#include <span>
#include <vector>

/// Which cameras may stream.
namespace vorn::LivePreviewRoster {

inline constexpr std::size_t maximumCameras = 4;

/// Those that are online and no director's desk, in list order; the first four of cameraOrder()
/// where there are more.
[[nodiscard]] std::vector<LiveCamera> eligible(std::span<const LiveCamera> cameras, WallTime at);
[[nodiscard]] std::set<QString> eligibleIDs(std::span<const LiveCamera> cameras, WallTime at);

} // namespace vorn::LivePreviewRoster
