// SPDX-License-Identifier: Apache-2.0

#include "rig/film/counter.h"

#include "rig/base/cast.h"

#include <QPainter>

#include <cmath>
#include <cstdint>

namespace vorn::rig {
namespace {

enum class Row { bit, complement };

constexpr int counterBits = counterCastBits + counterTimeBits;
static_assert(maximumCameras <= 1 << counterCastBits);

// Black on white after lossy coding at its worst; noise and flat pictures stay below.
constexpr int minimumContrast = 80;

QRect cell(QSize picture, int index, Row row)
{
    const QRect strip = counterStrip(picture);
    const int left = index * strip.width() / counterBits;
    const int right = (index + 1) * strip.width() / counterBits;
    const int half = strip.height() / 2;
    return {left, strip.top() + (row == Row::bit ? 0 : half), right - left, half};
}

// The mean of the cell's middle: its borders are smeared by coding and scaling.
int meanGray(const QImage &picture, const QRect &cell)
{
    const QRect middle =
        cell.adjusted(cell.width() / 4, cell.height() / 4, -cell.width() / 4, -cell.height() / 4);
    int sum = 0;
    for (int y = middle.top(); y <= middle.bottom(); ++y)
        for (int x = middle.left(); x <= middle.right(); ++x)
            sum += qGray(picture.pixel(x, y));
    return sum / (middle.width() * middle.height());
}

} // namespace

QRect counterStrip(QSize picture)
{
    const int height = std::max(4, std::min(picture.width(), picture.height()) * 16 / 360 / 2 * 2);
    return {0, picture.height() - height, picture.width(), height};
}

void drawCounter(QPainter &painter, QSize picture, const CounterReading &reading)
{
    const std::int64_t units =
        std::llround((reading.sceneSeconds - counterOriginSeconds) * counterUnitsPerSecond);
    Q_ASSERT(units >= 0 && units < (std::int64_t{1} << counterTimeBits));
    Q_ASSERT(reading.castIndex >= 0 && reading.castIndex < maximumCameras);
    const std::int64_t bits = (std::int64_t{reading.castIndex} << counterTimeBits) + units;
    for (int index = 0; index < counterBits; ++index) {
        const bool isSet = (bits >> (counterBits - 1 - index)) & 1;
        painter.fillRect(cell(picture, index, Row::bit), isSet ? Qt::white : Qt::black);
        painter.fillRect(cell(picture, index, Row::complement), isSet ? Qt::black : Qt::white);
    }
}

std::optional<CounterReading> readCounter(const QImage &picture)
{
    // Below this a cell has no middle.
    if (picture.width() < 2 * counterBits || picture.height() < 8)
        return std::nullopt;
    std::int64_t bits = 0;
    for (int index = 0; index < counterBits; ++index) {
        const int difference = meanGray(picture, cell(picture.size(), index, Row::bit))
                               - meanGray(picture, cell(picture.size(), index, Row::complement));
        if (std::abs(difference) < minimumContrast)
            return std::nullopt;
        bits = 2 * bits + (difference > 0 ? 1 : 0);
    }
    const std::int64_t units = bits % (std::int64_t{1} << counterTimeBits);
    return CounterReading{int(bits >> counterTimeBits),
                          double(units) / counterUnitsPerSecond + counterOriginSeconds};
}

} // namespace vorn::rig
