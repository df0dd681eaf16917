// SPDX-License-Identifier: Apache-2.0

#include "rig/film/scene_backdrop.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace vorn::rig {
namespace {

const QColor night(0x0B, 0x10, 0x26);
const QColor stone(0x2A, 0x2C, 0x3C);
const QColor lamplight(0xFF, 0xD6, 0x8A);

// A fixed scatter of values from 0 to 1 for stars, houses and windows (a 32-bit integer hash).
double scatter(int a, int b)
{
    std::uint32_t value = std::uint32_t(a) * 0x9E3779B1U + std::uint32_t(b) * 0x85EBCA77U;
    value = (value ^ (value >> 15)) * 0x2C1B3C6DU;
    value = (value ^ (value >> 12)) * 0x297A2D39U;
    value ^= value >> 15;
    return double(value) / 4294967296.0;
}

void paintSky(QPainter &painter, const SceneLook &look, QSize size)
{
    const double horizon = worldTransform(look, size).map(QPointF(0, streetY)).y();
    QLinearGradient sky(0, 0, 0, horizon);
    sky.setColorAt(0, night);
    sky.setColorAt(0.55, mixed(night, look.tint, 0.22));
    sky.setColorAt(1, mixed(night, look.tint, 0.72));
    painter.fillRect(QRect(QPoint(0, 0), size), sky);
    const double unit = std::min(size.width(), size.height()) / 360.0;
    painter.setPen(Qt::NoPen);
    for (int star = 0; star < 90; ++star) {
        const QPointF at(scatter(star, 1) * size.width(), scatter(star, 2) * horizon * 0.7);
        const double radius = (0.4 + 0.8 * scatter(star, 3)) * unit;
        painter.setBrush(QColor(255, 255, 255, int(40 + 150 * scatter(star, 4))));
        painter.drawEllipse(at, radius, radius);
    }
}

struct HouseRow {
    int seed;
    double pitch;
    double lowest;
    double spread;
    double litShare;
    QColor wall;
};

void paintWindows(QPainter &painter, const QRectF &house, int seed, double litShare)
{
    int index = 0;
    for (double y = house.top() + 8; y < house.bottom() - 10; y += 11) {
        for (double x = house.left() + 6; x < house.right() - 8; x += 9, ++index) {
            if (scatter(seed, index) > litShare)
                continue;
            QColor light = lamplight;
            light.setAlphaF(float(0.25 + 0.6 * scatter(index, seed)));
            painter.fillRect(QRectF(x, y, 4.5, 6), light);
        }
    }
}

void paintHouses(QPainter &painter, const HouseRow &row)
{
    for (int index = -16; index <= 16; ++index) {
        const double height = row.lowest + row.spread * scatter(row.seed, index);
        const double width = row.pitch * (0.86 + 0.2 * scatter(index, row.seed));
        const QRectF house(index * row.pitch - width / 2, streetY - height, width, height + 2);
        painter.fillRect(house, row.wall);
        paintWindows(painter, house, row.seed * 100 + index, row.litShare);
    }
}

void paintTower(QPainter &painter, const SceneLook &look)
{
    QLinearGradient wall(-84, 0, 84, 0);
    wall.setColorAt(0, stone.lighter(125));
    wall.setColorAt(0.5, stone);
    wall.setColorAt(1, stone.darker(150));
    painter.setPen(Qt::NoPen);
    painter.setBrush(wall);
    painter.drawRect(QRectF(-66, 80, 132, streetY - 80));
    painter.drawRect(QRectF(-84, -84, 168, 168));
    painter.setBrush(mixed(stone.lighter(140), look.tint, 0.25));
    painter.drawRect(QRectF(-89, 82, 178, 6));
    painter.drawRect(QRectF(-89, -88, 178, 6));
    painter.setBrush(mixed(stone.darker(130), look.tint, 0.2));
    painter.drawPolygon(QPolygonF({{-92, -88}, {0, -142}, {92, -88}}));
}

void paintDial(QPainter &painter)
{
    QRadialGradient face(QPointF(0, 0), dialRadius);
    face.setColorAt(0, QColor(0xFF, 0xFA, 0xEC));
    face.setColorAt(0.8, QColor(0xFB, 0xEC, 0xC6));
    face.setColorAt(1, QColor(0xE3, 0xC0, 0x82));
    painter.setBrush(face);
    painter.setPen(QPen(QColor(0x14, 0x16, 0x20), 5));
    painter.drawEllipse(QPointF(0, 0), dialRadius + 2, dialRadius + 2);
    for (int tick = 0; tick < 50; ++tick) {
        const bool isTenth = tick % 5 == 0;
        painter.save();
        painter.rotate(tick * 7.2);
        painter.setPen(QPen(QColor(0x2B, 0x26, 0x22), isTenth ? 3.4 : 1.1));
        painter.drawLine(QPointF(0, -dialRadius + 4), QPointF(0, -dialRadius + (isTenth ? 14 : 9)));
        painter.restore();
    }
}

void paintStreet(QPainter &painter, const SceneLook &look)
{
    const QRectF street(-900, streetY, 1800, 700);
    QLinearGradient asphalt(0, streetY, 0, streetY + 260);
    asphalt.setColorAt(0, mixed(QColor(0x22, 0x26, 0x33), look.tint, 0.18));
    asphalt.setColorAt(1, QColor(0x0B, 0x0D, 0x13));
    painter.fillRect(street, asphalt);
    // The lit dial on wet asphalt.
    QRadialGradient shine(QPointF(0, 0), 1);
    shine.setColorAt(0, QColor(255, 236, 190, 90));
    shine.setColorAt(1, QColor(255, 236, 190, 0));
    painter.save();
    painter.setClipRect(street);
    painter.translate(0, streetY);
    painter.scale(120, 240);
    painter.setPen(Qt::NoPen);
    painter.setBrush(shine);
    painter.drawEllipse(QPointF(0, 0), 1, 1);
    painter.restore();
    painter.fillRect(QRectF(-900, streetY, 1800, 3), mixed(stone.lighter(150), look.tint, 0.3));
    for (int dash = -18; dash <= 18; ++dash)
        painter.fillRect(QRectF(dash * 48.0 - 12, streetY + 42, 24, 2.4),
                         QColor(255, 255, 255, 120));
}

} // namespace

QTransform worldTransform(const SceneLook &look, QSize size, double depth)
{
    const bool isUpright = size.height() > size.width();
    const double unit = std::min(size.width(), size.height()) / 360.0;
    QTransform transform;
    transform.translate(size.width() / 2.0, size.height() * (isUpright ? 0.45 : 0.43));
    transform.scale(unit * look.zoom, unit * look.zoom);
    transform.translate(-look.pan * depth, 0);
    return transform;
}

QColor mixed(const QColor &from, const QColor &to, double share)
{
    const auto blend = [share](int a, int b) { return int(std::lround(a + (b - a) * share)); };
    return {blend(from.red(), to.red()), blend(from.green(), to.green()),
            blend(from.blue(), to.blue())};
}

QImage sceneBackdrop(const SceneLook &look, QSize size)
{
    QImage backdrop(size, QImage::Format_RGB32);
    QPainter painter(&backdrop);
    painter.setRenderHint(QPainter::Antialiasing);
    paintSky(painter, look, size);
    painter.setTransform(worldTransform(look, size, 0.3));
    paintHouses(painter, {7, 46, 70, 96, 0.16, mixed(night, look.tint, 0.34)});
    painter.setTransform(worldTransform(look, size, 0.6));
    paintHouses(painter, {23, 74, 34, 82, 0.3, mixed(night, look.tint, 0.14)});
    painter.setTransform(worldTransform(look, size));
    paintTower(painter, look);
    paintDial(painter);
    paintStreet(painter, look);
    return backdrop;
}

} // namespace vorn::rig
