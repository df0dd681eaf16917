// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace vorn {

/// Of the libraries that run, not of those that were compiled against.
[[nodiscard]] QString curlVersion();
[[nodiscard]] QString opensslVersion();

} // namespace vorn
