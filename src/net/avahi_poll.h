// SPDX-License-Identifier: Apache-2.0
#pragma once

struct AvahiPoll;

namespace vorn {

/// Lets Avahi wait in the event loop of the calling thread. What it makes belongs to that thread.
/// Lives for ever.
[[nodiscard]] const AvahiPoll *avahiPoll();

} // namespace vorn
