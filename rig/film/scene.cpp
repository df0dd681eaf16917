// SPDX-License-Identifier: Apache-2.0

#include "rig/film/scene.h"

#include "rig/film/counter.h"
#include "rig/film/scene_backdrop.h"

#include <QFont>
#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

double sinceWholeSecond(double sceneSeconds)
{
    return sceneSeconds - std::floor(sceneSeconds);
}

// Brightness of the flash of the last whole second, 1 at its start.
double flash(double sceneSeconds)
{
    return std::exp(-sinceWholeSecond(sceneSeconds) / 0.11);
}

void paintHands(QPainter &painter, const SceneLook &look, double sceneSeconds)
{
    const double turn = sinceWholeSecond(sceneSeconds);
    // The last quarter of a turn, fading: stills show which way the hand goes.
    QConicalGradient trail(QPointF(0, 0), 90 - turn * 360);
    QColor tail = mixed(look.tint, Qt::black, 0.1);
    trail.setColorAt(0, QColor(tail.red(), tail.green(), tail.blue(), 210));
    trail.setColorAt(0.25, QColor(tail.red(), tail.green(), tail.blue(), 0));
    painter.setPen(Qt::NoPen);
    painter.setBrush(trail);
    const double reach = dialRadius - 17;
    painter.drawPie(QRectF(-reach, -reach, 2 * reach, 2 * reach), int((90 - turn * 360) * 16),
                    90 * 16);

    const QColor ink(0x1B, 0x19, 0x1A);
    painter.save();
    painter.rotate(sceneSeconds * 6); // once a minute
    painter.setPen(QPen(ink, 6, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(0, 6), QPointF(0, -34));
    painter.restore();
    painter.save();
    painter.rotate(turn * 360);
    painter.setPen(QPen(ink, 3, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(0, 14), QPointF(0, -dialRadius + 12));
    painter.restore();
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink);
    painter.drawEllipse(QPointF(0, 0), 5.5, 5.5);
}

void paintFlash(QPainter &painter, const SceneLook &look, double sceneSeconds)
{
    const double brightness = flash(sceneSeconds);
    if (brightness < 0.01)
        return;
    QRadialGradient glow(QPointF(0, 0), 150);
    glow.setColorAt(0, QColor(255, 255, 255, int(230 * brightness)));
    glow.setColorAt(0.45, QColor(255, 250, 230, int(170 * brightness)));
    glow.setColorAt(0.7, QColor(255, 244, 210, int(46 * brightness)));
    glow.setColorAt(1, QColor(255, 240, 200, 0));
    painter.setPen(Qt::NoPen);
    painter.setBrush(glow);
    painter.drawEllipse(QPointF(0, 0), 150, 150);
    QColor ring = look.tint;
    ring.setAlphaF(float(brightness));
    painter.setPen(QPen(ring, 3));
    painter.setBrush(Qt::NoBrush);
    const double radius = dialRadius + 6 + 190 * sinceWholeSecond(sceneSeconds);
    painter.drawEllipse(QPointF(0, 0), radius, radius);
}

// A car that drives to the right, its middle at the origin and its wheels on y = 0.
void paintCar(QPainter &painter, const QColor &paint)
{
    QLinearGradient beam(38, 0, 150, 0);
    beam.setColorAt(0, QColor(255, 244, 200, 170));
    beam.setColorAt(1, QColor(255, 244, 200, 0));
    painter.setPen(Qt::NoPen);
    painter.setBrush(beam);
    painter.drawPolygon(QPolygonF({{36, -13}, {150, -20}, {150, 8}, {36, -9}}));
    QPainterPath cabin;
    cabin.moveTo(-24, -17);
    cabin.lineTo(-14, -28);
    cabin.lineTo(10, -28);
    cabin.lineTo(22, -17);
    cabin.closeSubpath();
    painter.setBrush(mixed(paint, QColor(0xB8, 0xD4, 0xF0), 0.5));
    painter.drawPath(cabin);
    painter.setBrush(paint);
    painter.drawRoundedRect(QRectF(-38, -18, 76, 14), 5, 5);
    painter.setBrush(QColor(0x0A, 0x0A, 0x0E));
    painter.drawEllipse(QPointF(-22, -4), 7, 7);
    painter.drawEllipse(QPointF(22, -4), 7, 7);
    painter.fillRect(QRectF(34, -14, 4, 5), QColor(0xFF, 0xF6, 0xD0));
    painter.fillRect(QRectF(-38, -14, 4, 5), QColor(0xFF, 0x3B, 0x30));
}

struct Lane {
    double y;
    double direction; ///< 1 to the right, -1 to the left
    double periodSeconds;
    double headStart; ///< share of the way already done at second 0
    double scale;
    QRgb paint;
};

constexpr std::array lanes{
    Lane{streetY + 30, 1, 5.0, 0.30, 0.9, 0xFFB8433A},
    Lane{streetY + 70, -1, 4.0, 0.62, 1.25, 0xFF2F6FDB},
};

void paintCars(QPainter &painter, double sceneSeconds)
{
    constexpr double reach = 520; // well outside every phone's picture on both sides
    for (const Lane &lane : lanes) {
        const double laps = sceneSeconds / lane.periodSeconds + lane.headStart;
        const double x = (2 * (laps - std::floor(laps)) - 1) * reach * lane.direction;
        painter.save();
        painter.translate(x, lane.y);
        painter.scale(lane.direction * lane.scale, lane.scale);
        paintCar(painter, QColor(lane.paint));
        painter.restore();
    }
}

QString clockText(double sceneSeconds)
{
    const std::int64_t milliseconds = std::llround(std::abs(sceneSeconds) * 1000);
    return u"%1%2:%3.%4"_s.arg(sceneSeconds < 0 && milliseconds > 0 ? u"-"_s : QString())
        .arg(milliseconds / 60'000, 2, 10, QChar(u'0'))
        .arg(milliseconds / 1000 % 60, 2, 10, QChar(u'0'))
        .arg(milliseconds % 1000, 3, 10, QChar(u'0'));
}

QFont font(const QStringList &families, double pixels, QFont::Weight weight)
{
    QFont result;
    result.setFamilies(families);
    result.setPixelSize(std::max(1, int(std::lround(pixels))));
    result.setWeight(weight);
    return result;
}

// One line of text on a plate whose upper left corner is `at`; gives the plate.
QRectF paintPlate(QPainter &painter, const QPointF &at, const QString &text, const QColor &plate,
                  const QColor &ink)
{
    const QFontMetricsF metrics(painter.font());
    const double margin = metrics.height() * 0.3;
    const QRectF box(at,
                     QSizeF(metrics.horizontalAdvance(text) + 2 * margin, metrics.height() * 1.16));
    painter.setPen(Qt::NoPen);
    painter.setBrush(plate);
    painter.drawRoundedRect(box, margin, margin);
    painter.setPen(ink);
    painter.drawText(box, Qt::AlignCenter, text);
    return box;
}

} // namespace

Scene::Scene(int castIndex, QSize size)
    : m_castIndex(castIndex),
      m_look(castMember(castIndex).look),
      m_size(size),
      m_backdrop(sceneBackdrop(m_look, size))
{
}

QImage Scene::picture(double sceneSeconds, const QString &note) const
{
    QImage picture = m_backdrop.copy();
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    paintWorld(painter, sceneSeconds);
    painter.resetTransform();
    paintLabels(painter, sceneSeconds, note);
    painter.setRenderHint(QPainter::Antialiasing, false);
    drawCounter(painter, m_size, {m_castIndex, sceneSeconds});
    return picture;
}

void Scene::paintWorld(QPainter &painter, double sceneSeconds) const
{
    painter.setTransform(worldTransform(m_look, m_size));
    paintFlash(painter, m_look, sceneSeconds);
    paintHands(painter, m_look, sceneSeconds);
    paintCars(painter, sceneSeconds);
}

void Scene::paintLabels(QPainter &painter, double sceneSeconds, const QString &note) const
{
    const QStringList sans{u"Inter"_s, u"DejaVu Sans"_s};
    const QStringList mono{u"JetBrains Mono"_s, u"DejaVu Sans Mono"_s};
    const QColor shade(8, 10, 16, 170);
    const double unit = std::min(m_size.width(), m_size.height()) / 360.0;
    painter.setFont(font(sans, 20 * unit, QFont::Bold));
    const QRectF name = paintPlate(painter, QPointF(14, 14) * unit, m_look.label, m_look.tint,
                                   QColor(0x0E, 0x10, 0x14));
    painter.setFont(font(sans, 14 * unit, QFont::Medium));
    paintPlate(painter, name.bottomLeft() + QPointF(0, 5) * unit, m_look.owner, shade, Qt::white);
    painter.setFont(font(mono, 24 * unit, QFont::Medium));
    const double foot = counterStrip(m_size).top() - 46 * unit;
    const QRectF clock =
        paintPlate(painter, QPointF(14 * unit, foot), clockText(sceneSeconds), shade, Qt::white);
    if (!note.isEmpty())
        paintPlate(painter, clock.topRight() + QPointF(5, 0) * unit, note, shade, m_look.tint);
}

} // namespace vorn::rig
