// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/live_camera.h"

#include <functional>

namespace vorn {

using CameraOrder = std::function<bool(const LiveCamera &, const LiveCamera &)>;

/// A before/after test of cameras by name in the user's language, those of one name by id: unlike
/// CameraList, where phones of one name change places with each update, it gives each a place to
/// keep. Costly to make, cheap to call.
[[nodiscard]] CameraOrder cameraOrder();

} // namespace vorn
