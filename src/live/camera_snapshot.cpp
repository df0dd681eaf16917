// SPDX-License-Identifier: Apache-2.0

#include "live/camera_snapshot.h"

#include "live/json_values.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

/// Each field of a status, with a bit of its own: its key, what reads its value, and its place in
/// the camera's record.
template <class Visit> void forEachField(Visit &&visit)
{
    std::uint32_t bit = 1;
    const auto field = [&](QLatin1StringView key, auto read, auto place) {
        visit(bit, key, read, place);
        bit <<= 1;
    };
    field("name"_L1, textValue, &LiveCamera::name);
    field("role"_L1, textValue, &LiveCamera::role);
    field("recording"_L1, strictBoolean, &LiveCamera::recording);
    field("recordingSinceMs"_L1, intValue, &LiveCamera::recordingSinceMs);
    field("takeId"_L1, textValue, &LiveCamera::takeId);
    field("battery"_L1, intValue, &LiveCamera::battery);
    field("freeGb"_L1, doubleValue, &LiveCamera::freeGB);
    field("leftDb"_L1, doubleValue, &LiveCamera::leftDB);
    field("rightDb"_L1, doubleValue, &LiveCamera::rightDB);
    field("channels"_L1, intValue, &LiveCamera::channels);
    field("quality"_L1, textValue, &LiveCamera::quality);
    field("aspect"_L1, textValue, &LiveCamera::aspect);
    field("previewRotation"_L1, intValue, &LiveCamera::previewRotation);
    field("previewCapabilities"_L1, decodePreviewCapabilities, &LiveCamera::previewCapabilities);
    field("previewTransport"_L1, decodePreviewTransport, &LiveCamera::previewTransport);
}

/// Of what is said of the clock; the fields have theirs from the lowest on.
constexpr std::uint32_t clockBit = 1U << 31;

} // namespace

CameraSnapshot::CameraSnapshot(const LiveCameraPacket &packet, QString host)
    : m_id(packet.cameraID())
{
    m_values.host = std::move(host);
    forEachField([&](std::uint32_t bit, QLatin1StringView key, auto read, auto place) {
        if (auto value = read(packet.payload.value(key))) {
            m_values.*place = *std::move(value);
            m_said |= bit;
        }
    });
}

void CameraSnapshot::setClock(const std::optional<PhoneClockReading> &clock)
{
    m_values.clock = clock;
    m_said |= clockBit;
}

void CameraSnapshot::merge(CameraSnapshot newer)
{
    m_said |= newer.m_said;
    std::move(newer).applyTo(m_values);
}

void CameraSnapshot::applyTo(LiveCamera &camera) &&
{
    camera.host = m_values.host;
    if (m_said & clockBit)
        camera.clock = m_values.clock;
    forEachField([&](std::uint32_t bit, QLatin1StringView, auto, auto place) {
        if (m_said & bit)
            camera.*place = std::move(m_values.*place);
    });
}

} // namespace vorn
