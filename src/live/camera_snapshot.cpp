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
    const auto field = [&](QStringView key, auto read, auto place) {
        visit(bit, key, read, place);
        bit <<= 1;
    };
    field(u"name", textValue, &LiveCamera::name);
    field(u"role", textValue, &LiveCamera::role);
    field(u"recording", strictBoolean, &LiveCamera::recording);
    field(u"recordingSinceMs", intValue, &LiveCamera::recordingSinceMs);
    field(u"takeId", textValue, &LiveCamera::takeId);
    field(u"battery", intValue, &LiveCamera::battery);
    field(u"freeGb", doubleValue, &LiveCamera::freeGB);
    field(u"leftDb", doubleValue, &LiveCamera::leftDB);
    field(u"rightDb", doubleValue, &LiveCamera::rightDB);
    field(u"channels", intValue, &LiveCamera::channels);
    field(u"quality", textValue, &LiveCamera::quality);
    field(u"aspect", textValue, &LiveCamera::aspect);
    field(u"previewRotation", intValue, &LiveCamera::previewRotation);
    field(u"previewCapabilities", decodePreviewCapabilities, &LiveCamera::previewCapabilities);
    field(u"previewTransport", decodePreviewTransport, &LiveCamera::previewTransport);
}

/// Of what is said of the clock; the fields have theirs from the lowest on.
constexpr std::uint32_t clockBit = 1U << 31;

} // namespace

CameraSnapshot::CameraSnapshot(const LiveCameraPacket &packet, QString host)
    : m_id(packet.cameraID())
{
    m_values.host = std::move(host);
    forEachField([&](std::uint32_t bit, QStringView key, auto read, auto place) {
        if (auto value = read(packet.payload.value(key))) {
            // Some places are optional. NOLINTNEXTLINE(bugprone-optional-value-conversion)
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
    forEachField([&](std::uint32_t bit, QStringView, auto, auto place) {
        if (m_said & bit)
            camera.*place = std::move(m_values.*place);
    });
}

} // namespace vorn
