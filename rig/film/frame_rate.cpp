// SPDX-License-Identifier: Apache-2.0

#include "rig/film/frame_rate.h"

#include <QStringList>

namespace vorn::rig {

QString frameRateText(const FrameRate &rate)
{
    const QString numerator = QString::number(rate.numerator);
    return rate.denominator == 1 ? numerator : numerator + u'/' + QString::number(rate.denominator);
}

std::optional<FrameRate> frameRateFromText(const QString &text)
{
    const QStringList parts = text.split(u'/');
    bool hasNumerator = false;
    bool hasDenominator = parts.size() == 1;
    FrameRate rate;
    rate.numerator = parts.at(0).toInt(&hasNumerator);
    if (parts.size() == 2)
        rate.denominator = parts.at(1).toInt(&hasDenominator);
    if (!hasNumerator || !hasDenominator || rate.denominator < 1)
        return std::nullopt;
    if (rate.perSecond() < 10 || rate.perSecond() > 120)
        return std::nullopt;
    return rate;
}

} // namespace vorn::rig
