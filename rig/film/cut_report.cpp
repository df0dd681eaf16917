// SPDX-License-Identifier: Apache-2.0

#include "rig/film/cut_report.h"

#include <QJsonArray>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

QJsonValue sideJson(const CutSide &side)
{
    if (!side.shown)
        return QJsonValue::Null;
    QJsonObject object{{u"cameraId"_s, side.cameraId}, {u"frame"_s, qint64(side.shown->frame)}};
    if (side.shown->reading) {
        object.insert(u"shownCameraId"_s, castMember(side.shown->reading->castIndex).cameraId);
        object.insert(u"shownSceneSeconds"_s, side.shown->reading->sceneSeconds);
    }
    return object;
}

} // namespace

QString cutText(const CutCheck &check)
{
    const double fps = check.framesPerSecond;
    QString text =
        u"  no kind camera       scene s    cut s  error ms  frames  left: scene s, frame"
        "       right\n"_s;
    for (const FoundDecision &found : check.decisions) {
        text += u"%1 %2 %3 %4"_s.arg(found.number, 4)
                    .arg(decisionKindText(found.decision.kind), -4)
                    .arg(found.decision.cameraId, -10)
                    .arg(found.decision.sceneSeconds, 9, 'f', 3);
        if (found.documentSeconds)
            text += u" %1 %2 %3"_s.arg(*found.documentSeconds, 8, 'f', 3)
                        .arg(found.errorSeconds() * 1000, 9, 'f', 1)
                        .arg(found.errorSeconds() * fps, 7, 'f', 2);
        else
            text += found.isNeeded ? u"  missing"_s : u"  leaves no edge"_s;
        if (found.sides)
            text += u"  %1 %2"_s.arg(found.sides->left.text(), -25).arg(found.sides->right.text());
        text += u'\n';
    }
    text += u"Median %1 ms (%2 frames), worst %3 ms (%4 frames).\n"_s
                .arg(check.medianSeconds() * 1000, 0, 'f', 1)
                .arg(check.medianSeconds() * fps, 0, 'f', 2)
                .arg(check.worstSeconds() * 1000, 0, 'f', 1)
                .arg(check.worstSeconds() * fps, 0, 'f', 2);
    text += u"%1 missing, %2 too many, %3 on the wrong camera.\n"_s.arg(check.missing())
                .arg(check.extra)
                .arg(check.wrongCameras);
    for (const QString &fault : check.faults)
        text += fault + u'\n';
    return text
           + (check.isRight() ? u"The cut is as it was directed.\n"_s
                              : u"The cut is not as it was directed.\n"_s);
}

QJsonObject cutJson(const CutCheck &check)
{
    const double fps = check.framesPerSecond;
    QJsonArray decisions;
    for (const FoundDecision &found : check.decisions) {
        QJsonObject entry{{u"number"_s, qint64(found.number)},
                          {u"kind"_s, decisionKindText(found.decision.kind)},
                          {u"cameraId"_s, found.decision.cameraId},
                          {u"sceneSeconds"_s, found.decision.sceneSeconds},
                          {u"isMissing"_s, found.isMissing()}};
        if (found.documentSeconds) {
            entry.insert(u"documentSeconds"_s, *found.documentSeconds);
            entry.insert(u"errorMs"_s, found.errorSeconds() * 1000);
            entry.insert(u"errorFrames"_s, found.errorSeconds() * fps);
        }
        if (found.sides) {
            entry.insert(u"left"_s, sideJson(found.sides->left));
            entry.insert(u"right"_s, sideJson(found.sides->right));
        }
        decisions.append(entry);
    }
    return {{u"framesPerSecond"_s, fps},
            {u"decisions"_s, decisions},
            {u"medianMs"_s, check.medianSeconds() * 1000},
            {u"medianFrames"_s, check.medianSeconds() * fps},
            {u"worstMs"_s, check.worstSeconds() * 1000},
            {u"worstFrames"_s, check.worstSeconds() * fps},
            {u"missing"_s, check.missing()},
            {u"extra"_s, check.extra},
            {u"wrongCameras"_s, check.wrongCameras},
            {u"faults"_s, QJsonArray::fromStringList(check.faults)},
            {u"isRight"_s, check.isRight()}};
}

} // namespace vorn::rig
