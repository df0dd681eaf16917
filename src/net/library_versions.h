// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace vorn {

/// Of the Avahi libraries that were compiled against: those that run do not tell.
[[nodiscard]] QString avahiVersion();

} // namespace vorn
