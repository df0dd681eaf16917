// SPDX-License-Identifier: Apache-2.0

#include "rig/film/cut_sides.h"

#include "rig/base/rig_error.h"

#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

constexpr QSize boxSize(640, 360);
constexpr int captionHeight = 28;

const PhoneTruth &truthOf(const TakeTruth &truth, const QString &cameraId)
{
    const auto phone = std::ranges::find(truth.phones, cameraId, &PhoneTruth::cameraId);
    if (phone == truth.phones.end())
        throw RigError(u"The take has no camera %1."_s.arg(cameraId));
    return *phone;
}

CutSide side(const CutTimeline &cut, const TimelinePiece &piece, std::int64_t frame,
             const TakeTruth &truth)
{
    CutSide side;
    side.cameraId = piece.cameraId();
    side.timelineSeconds = double(frame) / cut.framesPerSecond;
    if (piece.clip) {
        const PhoneTruth &phone = truthOf(truth, side.cameraId);
        side.shown = shownPicture(*piece.clip, phone, side.timelineSeconds);
        side.mediaFrameSeconds = phone.rate.seconds(1);
    }
    return side;
}

QString captionOf(const CutSide &side)
{
    if (!side.shown)
        return u"no recording, at %1 s"_s.arg(side.timelineSeconds, 0, 'f', 3);
    const std::optional<CounterReading> &reading = side.shown->reading;
    if (!reading)
        return u"not legible   frame %1"_s.arg(side.shown->frame);
    return u"%1   scene %2 s   frame %3"_s.arg(castMember(reading->castIndex).cameraId)
        .arg(reading->sceneSeconds, 0, 'f', 4)
        .arg(side.shown->frame);
}

} // namespace

QString CutSide::fault() const
{
    if (!shown || !shown->fault.isEmpty())
        return shown ? shown->fault : QString();
    const double error = shown->sceneSeconds - timelineSeconds;
    // The picture before the moment is right, up to one frame before it; what is left out by that
    // is back in sceneSeconds.
    if (std::abs(error) <= mediaFrameSeconds)
        return {};
    return u"At %1 s the timeline shows %2 %3 ms off."_s.arg(timelineSeconds)
        .arg(cameraId)
        .arg(error * 1000);
}

QString CutSide::text() const
{
    if (!shown)
        return u"-"_s;
    const QString frame = u"#%1"_s.arg(shown->frame);
    if (!shown->reading)
        return u"not legible "_s + frame;
    return u"%1 %2 %3"_s.arg(castMember(shown->reading->castIndex).cameraId)
        .arg(shown->reading->sceneSeconds, 0, 'f', 4)
        .arg(frame);
}

CutSides lookAtEdge(const CutTimeline &cut, std::size_t piece, const TakeTruth &truth)
{
    const std::int64_t frame = cut.pieces[piece].startFrame;
    return {side(cut, cut.pieces[piece - 1], frame - 1, truth),
            side(cut, cut.pieces[piece], frame, truth)};
}

void writeSides(const CutSides &sides, const QString &path)
{
    QImage image(2 * boxSize.width(), boxSize.height() + captionHeight, QImage::Format_RGB32);
    image.fill(QColor(0x14, 0x16, 0x1A));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setPen(Qt::white);
    QFont font(QStringList{u"JetBrains Mono"_s, u"DejaVu Sans Mono"_s});
    font.setPixelSize(15);
    painter.setFont(font);
    QRect box(QPoint(), boxSize);
    for (const CutSide *side : {&sides.left, &sides.right}) {
        if (side->shown) {
            const QSize size = side->shown->picture.size().scaled(boxSize, Qt::KeepAspectRatio);
            QRect place(QPoint(), size);
            place.moveCenter(box.center());
            painter.drawImage(place, side->shown->picture);
        }
        painter.drawText(QRect(box.left(), box.height(), box.width(), captionHeight),
                         Qt::AlignCenter, captionOf(*side));
        box.translate(boxSize.width(), 0);
    }
    painter.end();
    if (!image.save(path, "PNG"))
        throw RigError(u"Cannot write %1."_s.arg(path));
}

} // namespace vorn::rig
