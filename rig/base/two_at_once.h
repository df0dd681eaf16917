// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>

namespace vorn::rig {

/// Calls work(0) to work(count - 1), each once, two at a time on threads of their own: drawing and
/// encoding keep a core busy each, so two fill two cores and more would wait. Then done(index),
/// one at a time. What work throws ends the rest, and is thrown when both have ended.
void twoAtOnce(std::size_t count, const std::function<void(std::size_t)> &work,
               const std::function<void(std::size_t)> &done = {});

} // namespace vorn::rig
