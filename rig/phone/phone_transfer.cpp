// SPDX-License-Identifier: Apache-2.0

// The phone's side of a request for Transfer Mode.

#include "base/display_text.h"
#include "rig/base/compact_json.h"
#include "rig/base/rig_error.h"
#include "rig/phone/phone.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QUuid>

#include <array>

namespace vorn::rig {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype rememberedCommands = 256;

bool hasBytes(const QString &text, qsizetype most)
{
    const qsizetype bytes = text.toUtf8().size();
    return bytes >= 1 && bytes <= most;
}

// What a phone would have to say against a command; nothing when it is right.
QString objection(const QJsonObject &command, const QString &cameraId)
{
    const QJsonObject payload = command[u"payload"_s].toObject();
    const QJsonValue sentMs = command[u"sentMs"_s];
    const qsizetype nameLength = payload[u"collectorName"_s].toString().size();
    for (const auto &value : payload)
        if (!value.isString())
            return u"a value of the payload is no string"_s;
    if (command[u"v"_s] != QJsonValue(1))
        return u"v is not 1"_s;
    if (command[u"type"_s] != u"command"_s)
        return u"type is not command"_s;
    if (QUuid(command[u"sender"_s].toString()).isNull())
        return u"sender is no UUID"_s;
    if (!sentMs.isDouble() || sentMs.toDouble() != double(sentMs.toInteger()))
        return u"sentMs is no whole number"_s;
    if (command.contains(u"sessionId"_s) || command.contains(u"seq"_s))
        return u"a command has no session and no sequence"_s;
    if (payload[u"action"_s] != u"REQUEST_TRANSFER_MODE"_s)
        return u"action is not REQUEST_TRANSFER_MODE"_s;
    if (payload[u"target"_s] != cameraId)
        return u"target is another camera"_s;
    if (!hasBytes(payload[u"requestId"_s].toString(), 64))
        return u"requestId is not from 1 to 64 bytes"_s;
    if (nameLength < 1 || nameLength > 32)
        return u"collectorName is not from 1 to 32 characters"_s;
    return {};
}

} // namespace

std::optional<TransferHabit> transferHabitFromText(QStringView text)
{
    constexpr std::array names{u"ask", u"approve", u"decline", u"pending", u"silent"};
    for (std::size_t index = 0; index < names.size(); ++index)
        if (text == names[index])
            return TransferHabit(index);
    return std::nullopt;
}

void Phone::receive(const QByteArray &datagram, const Endpoint &from)
{
    if (m_isAsleep)
        return;
    const QJsonObject command = QJsonDocument::fromJson(datagram).object();
    const QJsonObject payload = command[u"payload"_s].toObject();
    const QString against = objection(command, m_cameraId);
    if (m_commands.size() == rememberedCommands)
        m_commands.removeFirst();
    m_commands.append(QJsonObject{{u"from"_s, from.address.toString()},
                                  {u"port"_s, from.port},
                                  {u"text"_s, QString::fromUtf8(datagram)},
                                  {u"objection"_s, against}});
    if (!against.isEmpty() || m_transfer == TransferHabit::silent)
        return;
    const WaitingTransfer request{payload[u"requestId"_s].toString(),
                                  command[u"sender"_s].toString(), from};
    m_waiting = request;
    answerTransfer(request, u"TRANSFER_MODE_PENDING"_s, {});
    switch (m_transfer) {
    case TransferHabit::ask:
        Q_EMIT said(
            u"%1: “%2” asks for Transfer Mode. Answer with: %1 approve, or: %1 decline"_s.arg(
                m_cameraId, displayText(payload[u"collectorName"_s].toString())));
        break;
    case TransferHabit::approve:
        approve();
        break;
    case TransferHabit::decline:
        acknowledge(false, m_declineText);
        break;
    case TransferHabit::pending:
    case TransferHabit::silent:
        break;
    }
}

void Phone::answerTransfer(const WaitingTransfer &request, const QString &action,
                           const QJsonObject &more)
{
    QJsonObject payload = more;
    payload.insert(u"action"_s, action);
    payload.insert(u"requestId"_s, request.requestId);
    payload.insert(u"target"_s, request.collectorId);
    ++m_sent[action];
    m_link.send(compactJson({{u"v"_s, 1},
                             {u"type"_s, u"command"_s},
                             {u"sender"_s, m_cameraId},
                             {u"sentMs"_s, m_clock.ms(MonotonicClock::now())},
                             {u"payload"_s, payload}}),
                request.from);
}

void Phone::acknowledge(bool isAccepted, const QString &error)
{
    if (!m_waiting)
        throw RigError(u"%1 has no request to answer"_s.arg(m_cameraId));
    QJsonObject more{{u"accepted"_s, isAccepted}};
    if (!error.isEmpty())
        more.insert(u"error"_s, error);
    answerTransfer(*m_waiting, u"TRANSFER_MODE_ACK"_s, more);
    m_waiting.reset();
    if (isAccepted)
        m_transferServer.begin(m_own.address);
}

// Nobody is there to hear of a failure but the person at the terminal.
void Phone::approve()
{
    try {
        acknowledge(true, {});
    } catch (const RigError &error) {
        Q_EMIT said(m_cameraId + u": "_s + QString::fromUtf8(error.what()));
    }
}

// Camera and preview stop while the phone is in Transfer Mode; its status packets go on.
void Phone::showTransfer()
{
    m_preview.stop();
    Q_EMIT said(m_cameraId + u" transfer "_s + m_transferServer.shownText());
}

} // namespace vorn::rig
