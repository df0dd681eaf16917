// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace vorn {

/// Code points that fit a line of the window, and far more than any honest name has.
inline constexpr qsizetype longestLine = 256;
/// Code points of a message that is worth scrolling through.
inline constexpr qsizetype longestMessage = 4000;

/// How text from a file or the network is shown. What could reorder, hide or break a line becomes a
/// visible mark: control characters, line and paragraph separators, direction controls, zero-width
/// and other invisible characters, lone surrogates. Joiners stay where a script or an emoji needs
/// them. Longer than `maximum` code points, it ends in "…". Only for showing: the data stays exact.
[[nodiscard]] QString displayText(const QString &text, qsizetype maximum = longestLine);

} // namespace vorn
