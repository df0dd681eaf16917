// SPDX-License-Identifier: Apache-2.0

#include "live/frame_orientation.h"

#include <QStringList>

#include <cmath>

using namespace Qt::StringLiterals;

namespace vorn::CameraFrameOrientation {

std::int64_t normalized(std::int64_t rotation)
{
    const std::int64_t remainder = rotation % 360;
    return remainder < 0 ? remainder + 360 : remainder;
}

std::optional<bool> isLandscape(const QString &aspect)
{
    QString sides = aspect;
    sides.replace(u'×', u':').replace(QChar(u'x'), QChar(u':'), Qt::CaseInsensitive);
    const QStringList pieces = sides.split(u':', Qt::SkipEmptyParts);
    if (pieces.size() != 2)
        return std::nullopt;
    double values[2] = {};
    for (qsizetype index = 0; index < 2; ++index) {
        QStringView piece(pieces[index]);
        while (!piece.isEmpty() && (piece.front() == u' ' || piece.front() == u'\t'))
            piece = piece.sliced(1);
        while (!piece.isEmpty() && (piece.back() == u' ' || piece.back() == u'\t'))
            piece.chop(1);
        bool isNumber = false;
        values[index] = piece.toDouble(&isNumber);
        if (!isNumber || !std::isfinite(values[index]) || values[index] <= 0)
            return std::nullopt;
    }
    if (values[0] == values[1])
        return std::nullopt;
    return values[0] > values[1];
}

std::int64_t effectiveRotation(double imageWidth, double imageHeight, const QString &declaredAspect,
                               std::int64_t advertisedRotation)
{
    const std::int64_t rotation = normalized(advertisedRotation);
    const bool isQuarterTurn = rotation == 90 || rotation == 270;
    const bool hasSides =
        imageWidth > 0 && imageHeight > 0 && std::abs(imageWidth - imageHeight) > 0.5;
    if (!isQuarterTurn || !hasSides)
        return rotation;
    const std::optional<bool> declared = isLandscape(declaredAspect);
    return declared && *declared == (imageHeight < imageWidth) ? 0 : rotation;
}

} // namespace vorn::CameraFrameOrientation
