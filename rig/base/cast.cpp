// SPDX-License-Identifier: Apache-2.0

#include "rig/base/cast.h"

#include <QUuid>

#include <array>

namespace vorn::rig {
namespace {

using namespace Qt::StringLiterals;

struct Person {
    QStringView name;
    QRgb tint;
    double pan;
    double zoom;
};

constexpr std::array<Person, maximumCameras> people{{
    {u"Mara", 0xFFF2A93B, 0, 1.0},
    {u"Jonas", 0xFF3FC6B0, -36, 1.0},
    {u"Ada", 0xFFA98BFF, 88, 0.92},
    {u"Tarek", 0xFFFF7A70, -64, 1.22},
    {u"Lucía", 0xFF6FB7FF, 46, 0.86},
    {u"Noor", 0xFFE7D65A, 30, 1.0},
    {u"Emil", 0xFF7BD66B, -96, 0.9},
    {u"Yuki", 0xFFFF8CC6, 24, 1.3},
    {u"Bram", 0xFFD9A27A, -30, 1.08},
    {u"Inès", 0xFF57D0E8, 20, 1.0},
    {u"Oskar", 0xFFC2E06A, 104, 0.88},
    {u"Amina", 0xFFFFA05A, -80, 1.15},
    {u"Piotr", 0xFF9FB4FF, 60, 0.95},
    {u"Sofie", 0xFFE08CFF, -20, 1.0},
    {u"Kofi", 0xFF4FD6A0, -110, 0.9},
    {u"Leah", 0xFFFFC88A, 70, 1.2},
}};

// Names the rig's device identities (RFC 9562 section 5.5); any fixed value does.
const QUuid deviceNamespace(u"6f1f0b0a-5d0e-4d57-9c3f-2a86f7c0d1e4"_s);

} // namespace

CastMember castMember(int index)
{
    const Person &person = people.at(std::size_t(index));
    const QChar letter(u'a' + index);
    const QString cameraId = u"cam-"_s + letter;
    const QString deviceName = person.name.toString() + u"'s phone"_s;
    return {
        cameraId,
        QUuid::createUuidV5(deviceNamespace, cameraId).toString(QUuid::WithoutBraces),
        deviceName,
        {u"CAM "_s + letter.toUpper(), deviceName, QColor(person.tint), person.pan, person.zoom}};
}

} // namespace vorn::rig
