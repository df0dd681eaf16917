// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>
#include <QRect>
#include <QSize>

#include <optional>

class QPainter;

/// The scene counter: a strip along the foot of every picture from which a program reads which
/// moment of the scene the picture shows. The moment is a number of 26 bits, most significant bit
/// at the left; the upper row holds the bits (white is 1), the lower row their complement. Each bit
/// is read by comparing its two cells, so neither exposure nor lossy coding disturbs it, and a
/// picture without the strip is not mistaken for one.
namespace vorn::rig {

/// The counter's resolution: a tenth of a millisecond, far below any frame.
inline constexpr int counterUnitsPerSecond = 10'000;
/// The scene time of counter 0. Phones may start before the reference, so it lies before zero.
inline constexpr double counterOriginSeconds = -100;
/// 2^26 units are 6,710 seconds, more than the longest take and its margins.
inline constexpr int counterBits = 26;

/// The strip's place in an upright picture of that size.
[[nodiscard]] QRect counterStrip(QSize picture);

/// Draws the strip into a picture of `picture` pixels that shows the scene at `sceneSeconds`,
/// rounded to the nearest unit. A time out of range is a broken promise of the caller.
void drawCounter(QPainter &painter, QSize picture, double sceneSeconds);

/// The scene time that an upright picture shows, in seconds; absent when it has no legible strip.
[[nodiscard]] std::optional<double> readCounter(const QImage &picture);

} // namespace vorn::rig
