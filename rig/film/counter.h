// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>
#include <QRect>
#include <QSize>

#include <optional>

class QPainter;

/// The scene counter: a strip along the foot of every picture from which a program reads which
/// phone took the picture, and which moment of the scene it shows. From the left: the phone's index
/// in the cast, 4 bits, then the moment, 26 bits, each with its most significant bit first; the
/// upper row holds the bits (white is 1), the lower row their complement. Each bit is read by
/// comparing its two cells, so neither exposure nor lossy coding disturbs it, and a picture without
/// the strip is not mistaken for one.
namespace vorn::rig {

/// The counter's resolution: a tenth of a millisecond, far below any frame.
inline constexpr int counterUnitsPerSecond = 10'000;
/// The scene time of counter 0. Phones may start before the reference, so it lies before zero.
inline constexpr double counterOriginSeconds = -100;
/// 2^26 units are 6,710 seconds, more than the longest take and its margins.
inline constexpr int counterTimeBits = 26;
/// As many as maximumCameras needs.
inline constexpr int counterCastBits = 4;

/// What a picture tells of itself.
struct CounterReading {
    int castIndex = 0;
    double sceneSeconds = 0;

    bool operator==(const CounterReading &) const = default;
};

/// The strip's place in an upright picture of that size.
[[nodiscard]] QRect counterStrip(QSize picture);

/// Draws the strip into a picture of `picture` pixels, the time rounded to the nearest unit. Values
/// out of range are a broken promise of the caller.
void drawCounter(QPainter &painter, QSize picture, const CounterReading &reading);

/// What an upright picture shows; absent when it has no legible strip.
[[nodiscard]] std::optional<CounterReading> readCounter(const QImage &picture);

} // namespace vorn::rig
