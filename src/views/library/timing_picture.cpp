// SPDX-License-Identifier: Apache-2.0

#include "views/library/timing_picture.h"

#include "views/controls/theme_base.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

constexpr double labelWidth = 64; // room for "+2,400 ms"
constexpr double placeHeight = 8; // of the bar that shows where the clip lies
constexpr double referenceHeight = 2;
constexpr double timesHeight = 16;
constexpr double between = 8;
constexpr double markRadius = 3;

/// Where things are drawn, in pixels of the item.
struct Scale {
    QRectF plot;
    double seconds = 1; ///< from its left edge to its right
    double ms = 1;      ///< from its middle to its upper edge

    [[nodiscard]] double x(double second) const
    {
        return plot.left() + plot.width() * std::clamp(second / seconds, 0.0, 1.0);
    }
    [[nodiscard]] double y(double value) const
    {
        return plot.center().y() - plot.height() / 2 * std::clamp(value / ms, -1.0, 1.0);
    }
    [[nodiscard]] QPointF at(const TimingPoint &point) const
    {
        return {x(point.referenceSeconds), y(point.ms)};
    }
};

double farthestMs(const ClipCheck &clip)
{
    double farthest = DriftEngine::maximumResidualMs;
    const auto widen = [&farthest](const std::vector<TimingPoint> &points) {
        for (const TimingPoint &point : points)
            farthest = std::max(farthest, std::abs(point.ms));
    };
    widen(clip.anchors);
    if (clip.sound)
        widen(clip.sound->points);
    return farthest;
}

QString msText(double ms)
{
    return (ms > 0 ? u"+"_s : u"\u2212"_s) + QString::number(std::round(std::abs(ms))) + u" ms"_s;
}

QString secondsText(double seconds)
{
    const auto whole = std::int64_t(std::floor(seconds));
    return u"%1:%2"_s.arg(whole / 60).arg(whole % 60, 2, 10, QLatin1Char('0'));
}

/// The middle, and how far an anchor may be from it.
void drawGate(QPainter &painter, const Scale &scale, const ThemeBase &theme)
{
    const auto level = [&](double ms, const QColor &colour, Qt::PenStyle style) {
        painter.setPen(QPen(colour, 1, style));
        painter.drawLine(QPointF(scale.plot.left(), scale.y(ms)),
                         QPointF(scale.plot.right(), scale.y(ms)));
    };
    level(0, theme.disabled, Qt::SolidLine);
    painter.setPen(theme.secondary);
    const double gate = DriftEngine::maximumResidualMs;
    // Beside points far away the gate is a narrow band, and both of its names would meet.
    const bool isRoomy = scale.y(-gate) - scale.y(gate) > 2 * painter.fontMetrics().height();
    const auto name = [&](double ms) {
        painter.setPen(theme.secondary);
        painter.drawText(QRectF(0, scale.y(ms) - 10, labelWidth - between, 20),
                         Qt::AlignRight | Qt::AlignVCenter, ms == 0 ? u"0"_s : msText(ms));
    };
    name(0);
    for (const double ms : {gate, -gate}) {
        level(ms, theme.secondary, Qt::DashLine);
        if (isRoomy)
            name(ms);
    }
    if (!isRoomy) {
        name(scale.ms);
        name(-scale.ms);
    }
}

/// A dot within the gate, a cross beyond it: colour never speaks alone.
void drawAnchors(QPainter &painter, const Scale &scale, const ThemeBase &theme,
                 const std::vector<TimingPoint> &anchors)
{
    for (const TimingPoint &anchor : anchors) {
        const QPointF at = scale.at(anchor);
        if (std::abs(anchor.ms) <= DriftEngine::maximumResidualMs) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(theme.accent);
            painter.drawEllipse(at, markRadius, markRadius);
        } else {
            painter.setPen(QPen(theme.warning, 2));
            const QPointF rising(markRadius, -markRadius);
            const QPointF falling(markRadius, markRadius);
            painter.drawLine(at - rising, at + rising);
            painter.drawLine(at - falling, at + falling);
        }
    }
}

/// Diamonds.
void drawHeard(QPainter &painter, const Scale &scale, const ThemeBase &theme,
               const std::vector<TimingPoint> &points)
{
    painter.setPen(QPen(theme.ready, 1.5));
    painter.setBrush(Qt::NoBrush);
    const double reach = markRadius + 2;
    for (const TimingPoint &point : points) {
        const QPointF at = scale.at(point);
        painter.drawPolygon(QPolygonF{at + QPointF(0, -reach), at + QPointF(reach, 0),
                                      at + QPointF(0, reach), at + QPointF(-reach, 0)});
    }
}

/// The clip on the whole timeline; the thin line above it is the reference.
void drawPlace(QPainter &painter, const Scale &scale, const ThemeBase &theme,
               const std::optional<ClipPlace> &place, const std::optional<ClipPlace> &reference)
{
    const auto bar = [&](const ClipPlace &of, double barTop, double barHeight) {
        const double left = scale.x(of.start);
        painter.drawRect(QRectF(left, barTop, scale.x(of.start + of.duration) - left, barHeight));
    };
    const double top = scale.plot.bottom() + between;
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.frame);
    painter.drawRect(QRectF(scale.plot.left(), top, scale.plot.width(), placeHeight));
    if (reference) {
        painter.setBrush(theme.secondary);
        bar(*reference, top - referenceHeight, referenceHeight);
    }
    if (place) {
        painter.setBrush(theme.accent);
        bar(*place, top, placeHeight);
    }
    const QRectF times(scale.plot.left(), top + placeHeight, scale.plot.width(), timesHeight);
    painter.setPen(theme.secondary);
    painter.drawText(times, Qt::AlignLeft | Qt::AlignBottom, secondsText(0));
    painter.drawText(times, Qt::AlignRight | Qt::AlignBottom, secondsText(scale.seconds));
}

} // namespace

TimingPicture::TimingPicture(QQuickItem *parent) : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
    connect(this, &TimingPicture::rowChanged, this, &TimingPicture::refresh);
}

void TimingPicture::setCheck(ExportCheckViewModel *check)
{
    if (check == m_check)
        return;
    if (m_check)
        m_check->disconnect(this);
    m_check = check;
    if (check)
        connect(check, &ExportCheckViewModel::changed, this, &TimingPicture::refresh);
    Q_EMIT checkChanged();
    refresh();
}

void TimingPicture::setMovies(MovieImportViewModel *movies)
{
    if (movies == m_movies)
        return;
    if (m_movies)
        m_movies->disconnect(this);
    m_movies = movies;
    if (movies)
        connect(movies, &MovieImportViewModel::changed, this, &TimingPicture::refresh);
    Q_EMIT moviesChanged();
    refresh();
}

void TimingPicture::setRow(int row)
{
    if (row == m_row)
        return;
    m_row = row;
    Q_EMIT rowChanged();
}

void TimingPicture::refresh()
{
    if (m_movies) {
        ClipCheck timing = m_movies->timingAt(m_row);
        if (timing == m_clip && m_seconds == m_movies->referenceSeconds())
            return; // it only goes on listening
        m_clip = std::move(timing);
        m_seconds = m_movies->referenceSeconds();
        m_reference = ClipPlace{.start = 0, .duration = m_seconds};
        update();
        return;
    }
    const ExportCheck *result = m_check ? m_check->result() : nullptr;
    const bool isThere = result && m_row >= 0 && std::size_t(m_row) < result->clips.size();
    m_clip = isThere ? result->clips[std::size_t(m_row)] : ClipCheck();
    m_seconds = isThere ? result->seconds() : 0;
    m_reference.reset();
    if (isThere)
        for (const ClipCheck &clip : result->clips)
            if (clip.isReference && !m_reference)
                m_reference = clip.place;
    update();
}

void TimingPicture::paint(QPainter *painter)
{
    const ThemeBase theme;
    QFont font(theme.sans);
    font.setPixelSize(11);
    painter->setFont(font);
    painter->setRenderHint(QPainter::Antialiasing);
    const Scale scale{.plot = QRectF(labelWidth, between, width() - labelWidth - between,
                                     height() - 3 * between - placeHeight - timesHeight),
                      .seconds = m_seconds > 0 ? m_seconds : 1,
                      .ms = 1.2 * farthestMs(m_clip)};
    if (!m_clip.isReference) {
        drawGate(*painter, scale, theme);
        drawAnchors(*painter, scale, theme, m_clip.anchors);
    }
    if (m_clip.sound)
        drawHeard(*painter, scale, theme, m_clip.sound->points);
    drawPlace(*painter, scale, theme, m_clip.place, m_reference);
}

} // namespace vorn
