// SPDX-License-Identifier: Apache-2.0

#include "rig/film/shown_picture.h"

#include "rig/base/cast.h"
#include "rig/film/fcpxml.h"
#include "rig/film/movie.h"

#include <algorithm>
#include <cmath>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

QString faultOf(const ShownPicture &shown, const TimelineClip &clip, const PhoneTruth &truth)
{
    const QString frame = u"Frame %1 of %2"_s.arg(shown.frame).arg(clip.moviePath);
    if (!shown.reading)
        return frame + u" shows no counter."_s;
    const QString cameraId = castMember(shown.reading->castIndex).cameraId;
    if (cameraId != truth.cameraId)
        return frame
               + u" shows %1, but by the timeline it shows %2."_s.arg(cameraId, truth.cameraId);
    const double promised = truth.sceneSeconds(truth.rate.seconds(shown.frame));
    if (std::abs(shown.reading->sceneSeconds - promised) > 1.0 / counterUnitsPerSecond)
        return frame
               + u" shows scene second %1, but by the truth file it shows %2."_s
                     .arg(shown.reading->sceneSeconds)
                     .arg(promised);
    return {};
}

} // namespace

ShownPicture shownPicture(const TimelineClip &clip, const PhoneTruth &truth, double timelineSeconds)
{
    const double source = clip.sourceSeconds(timelineSeconds);
    ShownPicture shown;
    shown.frame =
        std::int64_t(std::clamp(std::floor(source * truth.rate.perSecond() + gridTolerance), 0.0,
                                double(truth.frames - 1)));
    shown.picture = decodedFrame(clip.moviePath, truth.rate, shown.frame);
    shown.reading = readCounter(shown.picture);
    if (shown.reading)
        shown.sceneSeconds =
            shown.reading->sceneSeconds
            + (source - truth.rate.seconds(shown.frame)) * truth.sceneSecondsPerMediaSecond();
    shown.fault = faultOf(shown, clip, truth);
    return shown;
}

} // namespace vorn::rig
