// SPDX-License-Identifier: Apache-2.0

#include "rig/phone/phone_packets.h"

#include "rig/base/compact_json.h"
#include "rig/base/help_line.h"

#include <QJsonArray>

#include <algorithm>
#include <array>
#include <cmath>

namespace vorn::rig {

using namespace Qt::StringLiterals;

namespace {

// Speech-like: syllables over phrases, a click on each whole second as in the takes' sound.
double audioLevelDb(double seconds, double phase)
{
    const double phrase = std::sin(seconds * 0.9 + phase);
    const double syllable = std::abs(std::sin(seconds * 7.3 + 2 * phase));
    const double sinceClick = seconds - std::floor(seconds);
    const double level = phrase < -0.6 ? -52 : -34 + 20 * syllable + 6 * phrase;
    return std::round(std::max(level, -3 - 300 * sinceClick) * 10) / 10;
}

QJsonObject capabilities(int castIndex)
{
    QJsonArray transports{u"jpeg-tcp-v1"_s};
    QJsonArray codecs{u"jpeg"_s};
    if (castIndex % 4 == 2) {
        transports.append(u"h264-avcc-tcp-v1"_s);
        codecs.append(u"h264"_s);
    }
    return {{u"v"_s, 1},
            {u"transports"_s, transports},
            {u"codecs"_s, codecs},
            {u"requestModes"_s, QJsonArray{1, 2, 3, 4, 5}},
            {u"persistentModes"_s, QJsonArray{4, 5}},
            {u"link"_s, QJsonObject{{u"bandGHz"_s, 5.2}, {u"usableMbps"_s, 72.5}}}};
}

QJsonObject transportStatus(const PhoneFacts &facts)
{
    return {{u"modes"_s, QJsonArray{1, 2, 4, 5}},
            {u"codec"_s, u"JPEG"_s},
            {u"policy"_s, u"automatic"_s},
            {u"wallTargetFps"_s, facts.wall.fps},
            {u"selectedTargetFps"_s, facts.selected.fps},
            {u"thermalLevel"_s, u"nominal"_s},
            {u"connections"_s, facts.connections},
            {u"deliveryLimitedClients"_s, 0},
            {u"pendingEncodeJobs"_s, 0},
            {u"encodeCounters"_s, QJsonObject{{u"wall"_s, facts.wallFrames},
                                              {u"selected"_s, facts.selectedFrames},
                                              {u"skipped"_s, facts.skippedFrames}}},
            {u"band"_s, u"5 GHz"_s},
            {u"capacityMeasured"_s, true},
            {u"fullStream4K"_s, facts.castIndex % 4 == 0}};
}

} // namespace

QJsonObject statusPayload(const PhoneFacts &facts)
{
    const CastMember member = castMember(facts.castIndex);
    const bool isWide = facts.hold == PreviewHold::landscape;
    return {{u"id"_s, member.cameraId},
            {u"name"_s, member.deviceName},
            {u"role"_s, u"CAMERA"_s},
            {u"recording"_s, !facts.takeId.isEmpty()},
            {u"recordingSinceMs"_s, facts.recordingSinceMs},
            {u"takeId"_s, facts.takeId},
            {u"battery"_s, 94 - 11 * (facts.castIndex % 8) - int(facts.seconds / 120) % 6},
            {u"freeGb"_s, 118.5 - 13.5 * (facts.castIndex % 8)},
            {u"leftDb"_s, audioLevelDb(facts.seconds, facts.castIndex)},
            {u"rightDb"_s, audioLevelDb(facts.seconds + 0.02, facts.castIndex + 0.3)},
            {u"channels"_s, 2},
            {u"quality"_s, facts.castIndex % 4 == 0 ? u"4K 30"_s : u"1080p 30"_s},
            {u"aspect"_s, isWide ? u"16:9"_s : u"9:16"_s},
            {u"previewRotation"_s, isWide ? 0 : 90},
            {u"previewCapabilities"_s, capabilities(facts.castIndex)},
            {u"previewTransport"_s, transportStatus(facts)}};
}

namespace {

struct HostilePacket {
    QStringView name;
    QStringView about;
    QByteArray (*make)(QJsonObject envelope);
};

QByteArray paddedTo(QJsonObject envelope, qsizetype bytes)
{
    envelope.insert(u"padding"_s, QString());
    const qsizetype missing = bytes - compactJson(envelope).size();
    envelope.insert(u"padding"_s, QString(missing, u'x'));
    return compactJson(envelope);
}

QByteArray with(QJsonObject envelope, const QString &key, const QJsonValue &value)
{
    envelope.insert(key, value);
    return compactJson(envelope);
}

QByteArray withPayload(QJsonObject envelope, const QJsonObject &changes)
{
    QJsonObject payload = envelope[u"payload"_s].toObject();
    for (auto change = changes.begin(); change != changes.end(); ++change)
        payload.insert(change.key(), change.value());
    return with(std::move(envelope), u"payload"_s, payload);
}

QByteArray withName(QJsonObject envelope, const QString &name)
{
    return withPayload(std::move(envelope), {{u"name"_s, name}});
}

// The same text with one number that no JSON library would write.
QByteArray withNumberText(const QJsonObject &envelope, const QString &key, const QByteArray &text)
{
    return withPayload(envelope, {{key, u"@"_s}}).replace("\"@\"", text);
}

const std::array hostilePackets{
    HostilePacket{u"largest", u"8192 bytes, which are still to be read",
                  [](QJsonObject e) { return paddedTo(std::move(e), maximumDatagramBytes); }},
    HostilePacket{u"oversized", u"8193 bytes, otherwise right",
                  [](QJsonObject e) { return paddedTo(std::move(e), maximumDatagramBytes + 1); }},
    HostilePacket{u"jumbo", u"60,000 bytes, otherwise right",
                  [](QJsonObject e) { return paddedTo(std::move(e), 60'000); }},
    HostilePacket{u"empty", u"no byte at all", [](QJsonObject) { return QByteArray(); }},
    HostilePacket{u"truncated", u"the first half of a status",
                  [](QJsonObject e) {
                      const QByteArray whole = compactJson(e);
                      return whole.first(whole.size() / 2);
                  }},
    HostilePacket{u"binary", u"no text",
                  [](QJsonObject) {
                      QByteArray bytes;
                      for (int value = 0; value < 1024; ++value)
                          bytes += char(value * 167 % 256);
                      return bytes;
                  }},
    HostilePacket{u"array", u"JSON, but no object",
                  [](QJsonObject e) { return '[' + compactJson(e) + ']'; }},
    HostilePacket{u"deep", u"a name of 3,000 arrays in each other",
                  [](QJsonObject e) {
                      return withNumberText(e, u"name"_s,
                                            QByteArray(3000, '[') + QByteArray(3000, ']'));
                  }},
    HostilePacket{u"wrong-version", u"v is 2",
                  [](QJsonObject e) { return with(std::move(e), u"v"_s, 2); }},
    HostilePacket{u"boolean-version", u"v is true",
                  [](QJsonObject e) { return with(std::move(e), u"v"_s, true); }},
    HostilePacket{u"other-sender", u"sender and id differ",
                  [](QJsonObject e) { return with(std::move(e), u"sender"_s, u"somebody"_s); }},
    HostilePacket{u"long-id", u"a sender of 129 bytes",
                  [](QJsonObject e) {
                      const QString id(129, u'i');
                      e.insert(u"sender"_s, id);
                      return withPayload(std::move(e), {{u"id"_s, id}});
                  }},
    HostilePacket{u"null-session", u"sessionId is null",
                  [](QJsonObject e) { return with(std::move(e), u"sessionId"_s, QJsonValue()); }},
    HostilePacket{
        u"huge-sequence", u"seq is 2^53",
        [](QJsonObject e) { return with(std::move(e), u"seq"_s, qint64(9'007'199'254'740'992)); }},
    HostilePacket{u"huge-numbers", u"numbers beyond every integer",
                  [](QJsonObject e) {
                      return withPayload(std::move(e), {{u"battery"_s, 9.3e18},
                                                        {u"channels"_s, -1e300},
                                                        {u"previewRotation"_s, 1e18},
                                                        {u"recordingSinceMs"_s, -9.3e18},
                                                        {u"leftDb"_s, 1e308},
                                                        {u"freeGb"_s, -1e308}});
                  }},
    HostilePacket{u"infinite", u"battery is 1e999, which no double holds",
                  [](QJsonObject e) { return withNumberText(e, u"battery"_s, "1e999"); }},
    HostilePacket{u"wrong-types", u"every value of the payload but the id is an object",
                  [](QJsonObject e) {
                      QJsonObject payload = e[u"payload"_s].toObject();
                      for (auto value = payload.begin(); value != payload.end(); ++value)
                          if (value.key() != u"id")
                              value.value() = QJsonObject{{u"x"_s, 1}};
                      return with(std::move(e), u"payload"_s, payload);
                  }},
    HostilePacket{
        u"duplicate-keys", u"two versions, two payloads",
        [](QJsonObject e) { return "{\"v\":7,\"payload\":[]," + compactJson(e).sliced(1); }},
    HostilePacket{u"invalid-utf8", u"a name whose bytes are no text",
                  [](QJsonObject e) {
                      return withName(std::move(e), u"@"_s).replace("\"@\"", "\"\xFF\xC0\xAF\"");
                  }},
    HostilePacket{u"markup-name", u"a name that is markup",
                  [](QJsonObject e) {
                      return withName(std::move(e),
                                      u"<img src=\"file:///etc/passwd\"><b>bold</b> %1 %n"_s);
                  }},
    HostilePacket{u"hidden-name", u"a name with control and bidirectional characters",
                  [](QJsonObject e) {
                      return withName(std::move(e), u"a\0b\u202Egnp.exe\u2066\n\x1B[31m\u200B"_s);
                  }},
    HostilePacket{u"long-name", u"a name of 6,000 characters",
                  [](QJsonObject e) { return withName(std::move(e), QString(6000, u'W')); }},
};

} // namespace

std::optional<QByteArray> hostilePacket(const QString &name, const QJsonObject &envelope)
{
    for (const HostilePacket &packet : hostilePackets)
        if (packet.name == name)
            return packet.make(envelope);
    return std::nullopt;
}

QStringList hostilePacketHelp()
{
    QStringList lines;
    for (const HostilePacket &packet : hostilePackets)
        lines += helpLine(packet.name.toString(), packet.about);
    return lines;
}

} // namespace vorn::rig
