// SPDX-License-Identifier: Apache-2.0

#include "rig/film/take_documents.h"

#include "base/files.h"
#include "base/json_text.h"
#include "rig/base/rig_error.h"
#include "rig/film/counter.h"

#include <QJsonArray>

#include <cmath>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

constexpr std::int64_t maximumTruthBytes = 1 << 20;

QJsonArray anchorsJson(const PhonePlan &phone)
{
    QJsonArray anchors;
    for (const PlannedAnchor &anchor : phone.anchors)
        anchors.append(QJsonObject{{u"source_seconds"_s, anchor.sourceSeconds},
                                   {u"reference_seconds"_s, anchor.referenceSeconds},
                                   {u"confidence"_s, anchor.confidence},
                                   {u"uncertainty_ms"_s, anchorNoiseLimitMs}});
    return anchors;
}

QString textOf(const QJsonObject &object, const QString &key)
{
    const QJsonValue value = object.value(key);
    if (!value.isString())
        throw RigError(u"The truth file has no text \"%1\" where it must."_s.arg(key));
    return value.toString();
}

double numberOf(const QJsonObject &object, const QString &key)
{
    const QJsonValue value = object.value(key);
    if (!value.isDouble())
        throw RigError(u"The truth file has no number \"%1\" where it must."_s.arg(key));
    return value.toDouble();
}

QJsonObject soundTruthJson(const PlannedSound &sound)
{
    QJsonObject object = hearingJson(sound.hearing);
    object.insert(u"kind"_s, soundKindText(sound.scene.kind));
    object.insert(u"hasTalk"_s, sound.scene.hasTalk);
    return object;
}

PhoneTruth phoneTruth(const QJsonObject &object)
{
    PhoneTruth phone;
    phone.cameraId = textOf(object, u"cameraId"_s);
    phone.offsetSeconds = numberOf(object, u"offsetSeconds"_s);
    phone.driftPPM = numberOf(object, u"driftPPM"_s);
    const std::optional<FrameRate> rate = frameRateFromText(textOf(object, u"rate"_s));
    const double frames = numberOf(object, u"frames"_s);
    // 3,600 seconds at 120 frames a second, and room.
    if (!rate || !(frames >= 1 && frames <= 1'000'000) || std::abs(phone.driftPPM) > 10'000)
        throw RigError(u"The truth of %1 is out of range."_s.arg(phone.cameraId));
    phone.rate = *rate;
    phone.frames = std::int64_t(frames);
    if (object.contains(u"sound"_s))
        phone.soundDelaySeconds =
            numberOf(object.value(u"sound"_s).toObject(), u"soundDelaySeconds"_s);
    return phone;
}

} // namespace

QJsonObject manifestJson(const TakePlan &plan, const std::vector<QString> &digests)
{
    QJsonArray clips;
    for (std::size_t index = 0; index < plan.phones.size(); ++index) {
        const PhonePlan &phone = plan.phones[index];
        const CastMember member = castMember(phone.castIndex);
        QJsonObject clip{{u"clipId"_s, plan.takeId + u'-' + phone.cameraId},
                         {u"cameraId"_s, phone.cameraId},
                         {u"takeId"_s, plan.takeId},
                         {u"path"_s, phone.fileName},
                         {u"sha256"_s, digests.at(index)},
                         {u"mediaKind"_s, u"video"_s},
                         {u"deviceId"_s, member.deviceId},
                         {u"deviceName"_s, member.deviceName}};
        if (index > 0) {
            clip.insert(u"anchorMeaning"_s, u"same-event-reference-media-seconds"_s);
            clip.insert(u"anchors"_s, anchorsJson(phone));
        }
        clips.append(clip);
    }
    return {{u"schemaVersion"_s, 1},
            {u"projectId"_s, u"night-shoot"_s},
            {u"projectName"_s, u"Night Shoot"_s},
            {u"projectRevision"_s, 1},
            {u"projectNameAtCapture"_s, u"Night Shoot"_s},
            {u"projectRevisionAtCapture"_s, 1},
            {u"takeId"_s, plan.takeId},
            {u"referenceCameraId"_s, plan.phones.front().cameraId},
            {u"timelineFPS"_s, frameRateText(plan.fps)},
            {u"clips"_s, clips}};
}

QJsonObject truthJson(const TakePlan &plan)
{
    QJsonArray cameras;
    for (const PhonePlan &phone : plan.phones) {
        QJsonObject camera{
            {u"cameraId"_s, phone.cameraId},
            {u"file"_s, phone.fileName},
            {u"offsetSeconds"_s, phone.offsetSeconds},
            {u"driftPPM"_s, phone.driftPPM},
            {u"rate"_s, frameRateText(phone.rate)},
            {u"frames"_s, qint64(phone.frames)},
            {u"audioSamples"_s, qint64(phone.audioSamples())},
            {u"displayWidth"_s, phone.displaySize.width()},
            {u"displayHeight"_s, phone.displaySize.height()},
            {u"rotationDegrees"_s, phone.hold == Hold::upright ? 90 : 0},
            {u"codec"_s, phone.codec == VideoCodec::hevc ? u"hevc"_s : u"h264"_s},
            {u"anchorNoiseSigmaMs"_s, phone.anchors.empty() ? 0 : anchorNoiseSigmaMs},
            {u"anchorNoiseLimitMs"_s, phone.anchors.empty() ? 0 : anchorNoiseLimitMs}};
        if (phone.sound)
            camera.insert(u"sound"_s, soundTruthJson(*phone.sound));
        cameras.append(camera);
    }
    return {{u"schemaVersion"_s, 1},
            {u"seed"_s, qint64(plan.seed)},
            {u"takeId"_s, plan.takeId},
            {u"referenceCameraId"_s, plan.phones.front().cameraId},
            {u"timelineFPS"_s, frameRateText(plan.fps)},
            {u"counterUnitsPerSecond"_s, counterUnitsPerSecond},
            {u"counterOriginSeconds"_s, counterOriginSeconds},
            {u"cameras"_s, cameras}};
}

TakeTruth takeTruth(const QString &path)
{
    const QJsonObject document = parseJsonObject(readFile(path, maximumTruthBytes), path);
    if (document.value(u"schemaVersion"_s) != QJsonValue(1))
        throw RigError(u"The truth file is not of version 1."_s);
    TakeTruth truth;
    truth.takeId = textOf(document, u"takeId"_s);
    truth.referenceCameraId = textOf(document, u"referenceCameraId"_s);
    const QJsonArray cameras = document.value(u"cameras"_s).toArray();
    if (cameras.isEmpty())
        throw RigError(u"The truth file has no cameras."_s);
    for (const auto &camera : cameras)
        truth.phones.push_back(phoneTruth(camera.toObject()));
    return truth;
}

} // namespace vorn::rig
