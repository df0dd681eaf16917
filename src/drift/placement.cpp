// SPDX-License-Identifier: Apache-2.0

#include "drift/placement.h"

#include "drift/drift_error.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

// A microsecond: rounding may leave the media by less than any sample of sound.
constexpr double outsideToleranceSeconds = 0.000001;

} // namespace

Placement DriftEngine::placement(const Prepared &item, double fps)
{
    const double offset = item.correction.offsetSeconds;
    const double rate = item.correction.referenceSecondsPerSourceSecond;
    const double mediaDuration = item.media.duration;

    // Doubles, since neither need be a number: infinity times zero is NaN, which no gate passes.
    const double startFrame = std::ceil(fps * std::max(offset, 0.0));
    const double endFrame = std::floor(fps * (offset + rate * mediaDuration));
    // A negative rate turns a clip that lies before time zero into one with frames.
    if (!(fps > 0) || !(startFrame < endFrame))
        throw DriftExportError::invalid(u"No usable media remains for "_s + item.clip.cameraId
                                        + u'.');

    Placement result;
    result.item = item;
    result.start = startFrame / fps;
    result.duration = (endFrame - startFrame) / fps;
    const double sourceStart = (result.start - offset) / rate;
    const double sourceEnd = result.duration / rate + sourceStart;
    if (!(sourceStart >= -outsideToleranceSeconds)
        || !(sourceEnd <= mediaDuration + outsideToleranceSeconds))
        throw DriftExportError::invalid(u"Retiming would read outside "_s + item.clip.cameraId
                                        + u'.');
    result.sourceStart = std::max(sourceStart, 0.0);
    result.sourceEnd = std::min(sourceEnd, mediaDuration);
    return result;
}

} // namespace vorn
