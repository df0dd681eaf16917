// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/command_line.h"

namespace vorn::rig {

/// vorn-rig take.
[[nodiscard]] ExitCode runTake();

/// vorn-rig sounds.
[[nodiscard]] ExitCode runSounds();

} // namespace vorn::rig
