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
    for (const PlacedDecision &placed : check.decisions) {
        text += u"%1 %2 %3 %4"_s.arg(placed.number, 4)
                    .arg(decisionKindText(placed.decision.kind), -4)
                    .arg(placed.decision.cameraId, -10)
                    .arg(placed.decision.sceneSeconds, 9, 'f', 3);
        if (placed.documentSeconds)
            text += u" %1 %2 %3"_s.arg(*placed.documentSeconds, 8, 'f', 3)
                        .arg(placed.errorSeconds() * 1000, 9, 'f', 1)
                        .arg(placed.errorSeconds() * fps, 7, 'f', 2);
        else
            text += placed.isNeeded ? u"  missing"_s : u"  leaves no edge"_s;
        if (placed.sides)
            text +=
                u"  %1 %2"_s.arg(placed.sides->left.text(), -25).arg(placed.sides->right.text());
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
    for (const PlacedDecision &placed : check.decisions) {
        QJsonObject entry{{u"number"_s, qint64(placed.number)},
                          {u"kind"_s, decisionKindText(placed.decision.kind)},
                          {u"cameraId"_s, placed.decision.cameraId},
                          {u"sceneSeconds"_s, placed.decision.sceneSeconds},
                          {u"isMissing"_s, placed.isMissing()}};
        if (placed.documentSeconds) {
            entry.insert(u"documentSeconds"_s, *placed.documentSeconds);
            entry.insert(u"errorMs"_s, placed.errorSeconds() * 1000);
            entry.insert(u"errorFrames"_s, placed.errorSeconds() * fps);
        }
        if (placed.sides) {
            entry.insert(u"left"_s, sideJson(placed.sides->left));
            entry.insert(u"right"_s, sideJson(placed.sides->right));
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
