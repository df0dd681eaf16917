// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/base/cast.h"

#include <QColor>
#include <QImage>
#include <QSize>
#include <QTransform>

/// The world of the scene. Its unit is a 360th of a picture's short side at zoom 1, y points down,
/// and its origin is the middle of the clock dial.
namespace vorn::rig {

inline constexpr double dialRadius = 68;
inline constexpr double streetY = 116;

/// Places the world in a picture of `size` pixels. `depth` is 1 for the tower; what lies further
/// off shifts less when the phone stands to one side.
[[nodiscard]] QTransform worldTransform(const SceneLook &look, QSize size, double depth = 1);

/// A blend of two colours: `share` 0 gives `from`, 1 gives `to`.
[[nodiscard]] QColor mixed(const QColor &from, const QColor &to, double share);

/// All of the scene that never moves: evening sky, city, tower and street. Format_RGB32.
[[nodiscard]] QImage sceneBackdrop(const SceneLook &look, QSize size);

} // namespace vorn::rig
