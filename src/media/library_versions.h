// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace vorn {

/// Of the JPEG library that was compiled against: the one that runs does not tell.
[[nodiscard]] QString jpegVersion();

} // namespace vorn
