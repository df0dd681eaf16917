// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "window_probe.h"

namespace vorn {

/// Walks one state of a window as somebody does who has a keyboard and a screen reader, by what
/// assistive tools are given: every control is reached, tells what it is and why it cannot be used,
/// and comes in the order on the screen. Knows roles, but no window. The state is the same
/// afterwards. A line for each control and pictures go to the folder of VORN_WALK_OUT. Gives a line
/// for each fault. On a fine screen only what is seen is looked at.
[[nodiscard]] QStringList walkState(WindowHands &hands, const QString &name);

/// The sheet that has the keyboard; null when the window itself has it.
[[nodiscard]] QQuickItem *sheetOf(QQuickWindow *window);

} // namespace vorn
