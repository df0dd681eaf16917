// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace vorn {

/// The folder-safe form of an identifier: lower case; letters and numbers of any script, "-" and
/// "_" stay, every other user-perceived character becomes "-", and "-" is trimmed at both ends.
/// May be empty. Cut so that the name is at most 255 bytes of UTF-8, which is what file systems
/// hold.
[[nodiscard]] QString safeIdentifier(const QString &text);

} // namespace vorn
