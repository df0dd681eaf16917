// SPDX-License-Identifier: Apache-2.0

#include "rig/phone/phone.h"

#include "rig/base/compact_json.h"
#include "rig/base/rig_error.h"

#include <QUuid>

namespace vorn::rig {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int statusIntervalMs = 1000;

// Names the rig's sessions (RFC 9562 section 5.5); any fixed value does.
const QUuid sessionNamespace(u"0c4c9f6e-53b1-4c0e-8a39-5d1f9d0c7a72"_s);

PreviewHold usualHold(int castIndex)
{
    switch (castIndex % 4) {
    case 1:
        return PreviewHold::turned;
    case 3:
        return PreviewHold::upright;
    default:
        return PreviewHold::landscape;
    }
}

} // namespace

Phone::Phone(const PhoneOptions &options, PictureStore &pictures, QObject *parent)
    : QObject(parent),
      m_options(options),
      m_cameraId(castMember(options.castIndex).cameraId),
      m_pictures(pictures),
      m_link(options.seed * maximumCameras + options.castIndex),
      m_preview(pictures, options.castIndex, [this] { return identity(); }),
      m_transferServer(options.castIndex, options.media),
      m_own(options.status),
      m_previewPort(options.previewPort)
{
    resetSwitches();
    m_link.open(m_own);
    m_own.port = m_link.port();
    m_preview.open({m_own.address, m_previewPort});
    m_previewPort = m_preview.port();
    beginSession();
    connect(&m_link, &PhoneLink::received, this, &Phone::receive);
    connect(&m_transferServer, &TransferServer::begun, this, &Phone::showTransfer);
    connect(&m_transferServer, &TransferServer::over, &m_preview, &PreviewServer::resume);
    connect(&m_statusTimer, &QTimer::timeout, this, &Phone::sendStatus);
    m_recordingTimer.setTimerType(Qt::PreciseTimer);
    m_recordingTimer.setSingleShot(true);
    connect(&m_recordingTimer, &QTimer::timeout, this, [this] {
        sendStatus();
        awaitRecordingEdge();
    });
    m_statusTimer.start(statusIntervalMs);
    QTimer::singleShot(0, this, &Phone::sendStatus);
}

void Phone::beginSession()
{
    const QString name =
        u"%1 %2 %3"_s.arg(m_options.seed).arg(m_options.castIndex).arg(++m_sessions);
    m_sessionId = QUuid::createUuidV5(sessionNamespace, name).toString(QUuid::WithoutBraces);
    m_sequence = 0;
    m_hasAnnounced = false;
}

void Phone::resetSwitches()
{
    m_link.faults = {};
    m_preview.hold = usualHold(m_options.castIndex);
    m_preview.wall = m_options.wall;
    m_preview.selected = m_options.selected;
    m_preview.isAsleep = m_isAsleep = false;
    m_spread = Spread::both;
    m_isIdentityGarbage = false;
    m_transfer = m_options.transfer;
    m_declineText.clear();
    m_clock.setRate(1);
    m_clock.set({});
    record(std::nullopt);
    m_payloadChanges.clear();
    m_waiting.reset();
    m_transferServer.stop();
    m_transferServer.resetFaults();
    m_statusTimer.setInterval(statusIntervalMs);
}

void Phone::film(const PhoneRecording &recording, double clockRate)
{
    m_clock.setRate(clockRate);
    record(recording);
}

void Phone::record(const std::optional<PhoneRecording> &recording)
{
    m_recording = recording;
    m_recordingSinceMs = recording ? m_clock.ms(recording->begin) : 0;
    awaitRecordingEdge();
}

void Phone::awaitRecordingEdge()
{
    m_recordingTimer.stop();
    if (!m_recording)
        return;
    const auto now = MonotonicClock::now();
    const auto edge = now < m_recording->begin ? m_recording->begin : m_recording->end;
    if (now < edge && edge != MonotonicClock::time_point::max())
        // The next millisecond: a timer must not come before the edge.
        m_recordingTimer.start(std::chrono::ceil<std::chrono::milliseconds>(edge - now) + 1ms);
}

QJsonObject Phone::nextStatus()
{
    const bool isRecording = m_recording && m_recording->isUnderWay();
    QJsonObject payload = statusPayload({.castIndex = m_options.castIndex,
                                         .seconds = m_pictures.seconds(),
                                         .takeId = isRecording ? m_recording->takeId : QString(),
                                         .recordingSinceMs = isRecording ? m_recordingSinceMs : 0,
                                         .hold = m_preview.hold,
                                         .wall = m_preview.wall,
                                         .selected = m_preview.selected,
                                         .connections = m_preview.connections(),
                                         .wallFrames = m_preview.framesOfWall(),
                                         .selectedFrames = m_preview.framesOfSelected(),
                                         .skippedFrames = m_preview.skippedFrames()});
    for (const auto &[key, value] : m_payloadChanges)
        payload.insert(key, value);
    return {{u"v"_s, 1},
            {u"type"_s, std::exchange(m_hasAnnounced, true) ? u"status"_s : u"announce"_s},
            {u"sender"_s, m_cameraId},
            {u"sessionId"_s, m_sessionId},
            {u"seq"_s, m_sequence++},
            {u"sentMs"_s, m_clock.ms(MonotonicClock::now())},
            {u"payload"_s, payload}};
}

void Phone::sendStatus()
{
    if (m_isAsleep || m_spread == Spread::off)
        return;
    const QJsonObject status = nextStatus();
    ++m_sent[status[u"type"_s].toString()];
    sendEverywhere(compactJson(status));
}

void Phone::sendEverywhere(const QByteArray &datagram)
{
    // Loopback is for tests that have no network of their own: nothing may leave it.
    if (m_spread != Spread::unicast && !m_own.address.isLoopback())
        m_link.send(datagram, {statusGroup, statusPort});
    if (m_spread != Spread::multicast && m_options.desktop)
        m_link.send(datagram, *m_options.desktop);
}

void Phone::sendForeign(const QByteArray &datagram)
{
    if (m_options.desktop)
        m_link.sendAtOnce(datagram, *m_options.desktop);
    else
        m_link.sendAtOnce(datagram, {statusGroup, statusPort});
}

void Phone::sendHostile(const QString &hexOrName)
{
    const QByteArray hex = hexOrName.toLatin1();
    QByteArray datagram = QByteArray::fromHex(hex);
    if (datagram.isEmpty() || datagram.toHex() != hex.toLower()) {
        const std::optional<QByteArray> hostile = hostilePacket(hexOrName, nextStatus());
        if (!hostile)
            throw RigError(u"hexadecimal bytes or a name of help are wanted"_s);
        datagram = *hostile;
    }
    ++m_sent[u"raw"_s];
    sendForeign(datagram);
}

void Phone::move(const QHostAddress &address)
{
    m_link.open({address, m_own.port});
    m_preview.open({address, m_previewPort});
    m_transferServer.move(address);
    m_own.address = address;
    sendStatus();
}

QByteArray Phone::identity()
{
    const QByteArray status = compactJson(nextStatus());
    ++m_sent[u"identity"_s];
    return lengthPrefix(quint32(status.size()))
           + (m_isIdentityGarbage ? QByteArray(status.size(), '{') : status);
}

QJsonObject Phone::state() const
{
    QJsonObject sent = m_link.counts();
    for (const auto &[kind, count] : m_sent)
        sent.insert(kind, count);
    return {{u"address"_s, m_own.address.toString()},
            {u"port"_s, m_own.port},
            {u"previewPort"_s, m_previewPort},
            {u"sessionId"_s, m_sessionId},
            {u"nextSeq"_s, m_sequence},
            {u"isAsleep"_s, m_isAsleep},
            {u"sent"_s, sent},
            {u"preview"_s, m_preview.counts()},
            {u"transfer"_s, m_transferServer.state()},
            {u"commands"_s, m_commands},
            {u"isTransferWaiting"_s, m_waiting.has_value()}};
}

} // namespace vorn::rig
