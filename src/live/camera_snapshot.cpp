#include "live/camera_snapshot.h"

#include "live/json_values.h"

#include <utility>

namespace vorn {
namespace {

/// Each field of a snapshot with the field of the record that it fills.
template <class Visit> void forEachField(Visit &&visit)
{
    visit(&CameraSnapshot::name, &LiveCamera::name);
    visit(&CameraSnapshot::role, &LiveCamera::role);
    visit(&CameraSnapshot::recording, &LiveCamera::recording);
    visit(&CameraSnapshot::recordingSinceMs, &LiveCamera::recordingSinceMs);
    visit(&CameraSnapshot::takeId, &LiveCamera::takeId);
    visit(&CameraSnapshot::battery, &LiveCamera::battery);
    visit(&CameraSnapshot::freeGB, &LiveCamera::freeGB);
    visit(&CameraSnapshot::leftDB, &LiveCamera::leftDB);
    visit(&CameraSnapshot::rightDB, &LiveCamera::rightDB);
    visit(&CameraSnapshot::channels, &LiveCamera::channels);
    visit(&CameraSnapshot::quality, &LiveCamera::quality);
    visit(&CameraSnapshot::aspect, &LiveCamera::aspect);
    visit(&CameraSnapshot::previewRotation, &LiveCamera::previewRotation);
    visit(&CameraSnapshot::previewCapabilities, &LiveCamera::previewCapabilities);
    visit(&CameraSnapshot::previewTransport, &LiveCamera::previewTransport);
}

/// What was said takes the place of what is known.
template <class Value> void takeOver(std::optional<Value> &said, Value &known)
{
    if (said)
        known = *std::move(said);
}
template <class Value> void takeOver(std::optional<Value> &said, std::optional<Value> &known)
{
    if (said)
        known = std::move(said);
}

} // namespace

void CameraSnapshot::merge(CameraSnapshot newer)
{
    host = newer.host;
    forEachField([&](auto field, auto) { takeOver(newer.*field, this->*field); });
}

void CameraSnapshot::applyTo(LiveCamera &camera) &&
{
    camera.host = host;
    forEachField([&](auto field, auto target) { takeOver(this->*field, camera.*target); });
}

CameraSnapshot decodeSnapshot(const LiveCameraPacket &packet, const QString &host)
{
    const QJsonObject &payload = packet.payload;
    return {
        .id = packet.cameraID(),
        .host = host,
        .name = textValue(payload.value(u"name")),
        .role = textValue(payload.value(u"role")),
        .recording = strictBoolean(payload.value(u"recording")),
        .recordingSinceMs = intValue(payload.value(u"recordingSinceMs")),
        .takeId = textValue(payload.value(u"takeId")),
        .battery = intValue(payload.value(u"battery")),
        .freeGB = doubleValue(payload.value(u"freeGb")),
        .leftDB = doubleValue(payload.value(u"leftDb")),
        .rightDB = doubleValue(payload.value(u"rightDb")),
        .channels = intValue(payload.value(u"channels")),
        .quality = textValue(payload.value(u"quality")),
        .aspect = textValue(payload.value(u"aspect")),
        .previewRotation = intValue(payload.value(u"previewRotation")),
        .previewCapabilities = decodePreviewCapabilities(payload.value(u"previewCapabilities")),
        .previewTransport = decodePreviewTransport(payload.value(u"previewTransport")),
    };
}

} // namespace vorn
