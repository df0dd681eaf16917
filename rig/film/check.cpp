// SPDX-License-Identifier: Apache-2.0

#include "rig/film/check.h"

#include "base/files.h"
#include "rig/base/rig_error.h"
#include "rig/film/fcpxml.h"
#include "rig/film/shown_picture.h"
#include "rig/film/take_documents.h"
#include "rig/film/timeline_reader.h"

#include <QJsonArray>

#include <algorithm>
#include <cmath>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

constexpr std::int64_t maximumDocumentBytes = 16 << 20;

const TimelineClip &clipOf(const Timeline &timeline, const QString &cameraId)
{
    const auto clip = std::ranges::find(timeline.clips, cameraId, &TimelineClip::cameraId);
    if (clip == timeline.clips.end())
        throw RigError(u"The timeline has no clip of %1."_s.arg(cameraId));
    return *clip;
}

CameraAlignment cameraAlignment(const Timeline &timeline, const TimelineClip &reference,
                                const PhoneTruth &truth, double distanceSeconds)
{
    const TimelineClip &clip = clipOf(timeline, truth.cameraId);
    const double fps = timeline.framesPerSecond;
    const double start = std::max(clip.startSeconds, reference.startSeconds);
    const double end = std::min(clip.endSeconds(), reference.endSeconds());
    const double first = std::ceil(start * fps - gridTolerance);
    const double last = std::ceil(end * fps - gridTolerance) - 1;
    if (!(first <= last))
        throw RigError(u"%1 and the reference camera share no frame."_s.arg(clip.cameraId));
    CameraAlignment alignment{clip.cameraId, distanceSeconds, {}};
    const std::array moments{first, std::floor((first + last) / 2), last};
    for (std::size_t index = 0; index < moments.size(); ++index) {
        const double timelineSeconds = moments[index] / fps;
        const ShownPicture shown = shownPicture(clip, truth, timelineSeconds);
        if (!shown.fault.isEmpty())
            throw RigError(shown.fault);
        alignment.points[index] = {timelineSeconds,
                                   shown.sceneSeconds - timelineSeconds - distanceSeconds};
    }
    return alignment;
}

QString signedText(double value)
{
    return (value < 0 ? u'-' : u'+') + QString::number(std::abs(value), 'f', 2);
}

} // namespace

bool AlignmentCheck::isWithinBound() const
{
    return std::ranges::all_of(cameras, [this](const CameraAlignment &camera) {
        return std::ranges::all_of(camera.points, [this](const AlignmentPoint &point) {
            return std::abs(errorFrames(point)) <= boundFrames;
        });
    });
}

AlignmentCheck checkAlignment(const AlignmentQuestion &question)
{
    const TakeTruth truth = takeTruth(question.truthPath);
    const Timeline timeline = readTimeline(
        readFile(question.packageFolder + u'/' + question.timelineName, maximumDocumentBytes));
    const TimelineClip &reference = clipOf(timeline, truth.referenceCameraId);
    const auto basis =
        std::ranges::find(truth.phones, truth.referenceCameraId, &PhoneTruth::cameraId);
    if (basis == truth.phones.end())
        throw RigError(u"The truth file lacks the reference camera."_s);
    AlignmentCheck check{timeline.framesPerSecond, question.by, question.boundFrames, {}};
    for (const PhoneTruth &phone : truth.phones) {
        const double later = question.by == AlignedBy::sound
                                 ? phone.soundDelaySeconds - basis->soundDelaySeconds
                                 : 0;
        check.cameras.push_back(cameraAlignment(timeline, reference, phone, later));
    }
    return check;
}

QString alignmentText(const AlignmentCheck &check)
{
    const bool isBySound = check.by == AlignedBy::sound;
    QString text = u"%1%2 %3 %4 %5\n"_s.arg(u"camera"_s, -10)
                       .arg(isBySound ? u"  distance: ms"_s : QString())
                       .arg(u"head: ms, frames"_s, 18)
                       .arg(u"middle"_s, 18)
                       .arg(u"tail"_s, 18);
    for (const CameraAlignment &camera : check.cameras) {
        text += u"%1"_s.arg(camera.cameraId, -10);
        if (isBySound)
            text += u"%1"_s.arg(signedText(camera.distanceSeconds * 1000), 14);
        for (const AlignmentPoint &point : camera.points)
            text += u" %1 %2"_s.arg(signedText(point.errorSeconds * 1000), 10)
                        .arg(signedText(check.errorFrames(point)), 7);
        text += u'\n';
    }
    text +=
        check.isWithinBound() ? u"Every camera lies within "_s : u"Not every camera lies within "_s;
    text += check.boundFrames == 1 ? u"one frame"_s : u"%1 frames"_s.arg(check.boundFrames);
    if (isBySound)
        text += u"; what its distance from the sound explains is taken away"_s;
    return text + u".\n"_s;
}

QJsonObject alignmentJson(const AlignmentCheck &check)
{
    const std::array names{u"head"_s, u"middle"_s, u"tail"_s};
    QJsonArray cameras;
    for (const CameraAlignment &camera : check.cameras) {
        QJsonObject entry{{u"cameraId"_s, camera.cameraId},
                          {u"distanceMs"_s, camera.distanceSeconds * 1000}};
        for (std::size_t index = 0; index < names.size(); ++index) {
            const AlignmentPoint &point = camera.points[index];
            entry.insert(names[index], QJsonObject{{u"timelineSeconds"_s, point.timelineSeconds},
                                                   {u"errorMs"_s, point.errorSeconds * 1000},
                                                   {u"errorFrames"_s, check.errorFrames(point)}});
        }
        cameras.append(entry);
    }
    return {{u"framesPerSecond"_s, check.framesPerSecond},
            {u"cameras"_s, cameras},
            {u"boundFrames"_s, check.boundFrames},
            {u"withinBound"_s, check.isWithinBound()}};
}

} // namespace vorn::rig
