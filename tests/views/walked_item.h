// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "window_probe.h"

#include <QAccessible>

namespace vorn {

using Items = QList<QQuickItem *>;

/// What assistive tools are given of an item; null when they are given nothing. What holds all that
/// is in a window is the window to them.
[[nodiscard]] QAccessibleInterface *nodeOf(QQuickItem *item);
[[nodiscard]] QAccessible::Role roleOf(QQuickItem *item);
[[nodiscard]] QAccessible::State stateOf(QQuickItem *item);
[[nodiscard]] QString nameOf(QQuickItem *item);
/// Role and name.
[[nodiscard]] QString spoken(QQuickItem *item);
/// What is chosen within another control, by the arrows.
[[nodiscard]] bool isChoice(QQuickItem *item);
[[nodiscard]] bool isControl(QQuickItem *item);
[[nodiscard]] Items childrenOf(QQuickItem *item);
[[nodiscard]] QQuickItem *holderOf(QQuickItem *item);

[[nodiscard]] QRectF placeOf(const QQuickItem *item);
/// All that a screen reader finds under an item, and where it is.
[[nodiscard]] std::pair<Items, QRectF> heardUnder(QQuickItem *root);
/// Whether what its lists and pages leave of the window shows the item.
[[nodiscard]] bool isInSight(const QQuickItem *item);
/// How many pixels around an item have the colour of the focus ring.
[[nodiscard]] int ringPixels(const QImage &picture, const QQuickItem *item);

} // namespace vorn
