// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace vorn {

/// The folder for the library and the collector identity: "VORN" in the user's data folder
/// ($XDG_DATA_HOME, by default ~/.local/share).
[[nodiscard]] QString applicationSupportFolder();

/// The folder for verified recordings: "VORN" in the user's videos folder (xdg-user-dirs,
/// by default ~/Videos).
[[nodiscard]] QString recordingsFolder();

} // namespace vorn
