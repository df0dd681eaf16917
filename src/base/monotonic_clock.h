// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace vorn {

/// The clock for ages, rates and timeouts: it never jumps when somebody sets the computer's time.
using MonotonicClock = std::chrono::steady_clock;

} // namespace vorn
