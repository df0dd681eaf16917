// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "outcome.h"
#include "shared_phone.h"
#include "tls_server.h"
#include "transfer/authenticated_transfer_client.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <optional>

namespace vorn {

// What a camera advertises and answers, for tests to damage.

using Client = std::shared_ptr<AuthenticatedTransferClient>;
using Lines = QByteArrayList;

inline const QString sessionId = QStringLiteral("session-7");
inline const QString deviceId = QStringLiteral("9b2f3f5e-7c0e-4a3f-9d5c-2a1f6d1b7e10");
inline const QByteArray token = "b2xhLWVzdGEtZXMtdW5hLWNsYXZlLXNlY3JldGE="; // 40 bytes

inline QByteArray http(const QByteArray &status, const Lines &headers, const QByteArray &body)
{
    QByteArray answer = "HTTP/1.1 " + status + "\r\n";
    for (const QByteArray &header : headers)
        answer += header + "\r\n";
    return answer + "\r\n" + body;
}

inline QByteArray httpWithLength(const QByteArray &status, const QByteArray &body)
{
    return http(status, {"Content-Length: " + QByteArray::number(body.size())}, body);
}

/// "2026-01-31T09:30:00Z", so many seconds from now.
inline QString secondsAhead(double seconds)
{
    return QDateTime::currentDateTimeUtc()
        .addMSecs(qint64(seconds * 1000))
        .toString(Qt::ISODateWithMs);
}

inline QJsonObject pairingGrant(const QString &fingerprint)
{
    return {{QStringLiteral("schemaVersion"), 1},
            {QStringLiteral("deviceId"), deviceId},
            {QStringLiteral("sessionId"), sessionId},
            {QStringLiteral("bearerToken"), QString::fromLatin1(token)},
            {QStringLiteral("expiresAt"), secondsAhead(890)},
            {QStringLiteral("scopes"),
             QJsonArray{QStringLiteral("catalog.read"), QStringLiteral("files.read"),
                        QStringLiteral("something.else")}},
            {QStringLiteral("certificateSHA256"), fingerprint},
            {QStringLiteral("foregroundOnly"), true}};
}

inline QByteArray pairingAnswer(const QJsonObject &grant)
{
    return httpWithLength("200 OK", QJsonDocument(grant).toJson(QJsonDocument::Compact));
}

/// A camera at the server, under a name that no resolver knows.
inline DiscoveredDevice deviceAt(const TlsServer &server)
{
    DiscoveredDevice device = sharedPhone(
        QStringLiteral("Left camera"),
        QStringLiteral("https://left-camera.local:%1/vorn/v1/catalog").arg(server.port()),
        server.fingerprint(), sessionId);
    device.deviceId = deviceId;
    device.address = QHostAddress(QHostAddress::LocalHost);
    return device;
}

inline Outcome<Client> pairing(const DiscoveredDevice &device,
                               const QString &code = QStringLiteral("482915"))
{
    return Outcome(AuthenticatedTransferClient::pair(device, code, QStringLiteral("collector-1"),
                                                     QStringLiteral("Edit suite"), true));
}

/// A camera that grants a session and then gives one answer to every request.
class PairedCamera {
public:
    using Answer = TlsServer::Answer;

    /// `answer` gets the requests after the pairing. `edits` replace values of the grant; a null
    /// leaves one out.
    explicit PairedCamera(Answer answer, const QJsonObject &edits = {})
        : m_server([this, answer = std::move(answer), edits](const TlsServer::Request &request,
                                                             TlsPeer &peer) {
              if (request.index > 0)
                  return answer(request, peer);
              QJsonObject grant = pairingGrant(m_server.fingerprint());
              for (auto edit = edits.begin(); edit != edits.end(); ++edit) {
                  if (edit.value().isNull())
                      grant.remove(edit.key());
                  else
                      grant[edit.key()] = edit.value();
              }
              peer.send(pairingAnswer(grant));
          })
    {
    }
    /// Gives the same answer to every request after the pairing.
    explicit PairedCamera(const QByteArray &answer, const QJsonObject &edits = {})
        : PairedCamera([answer](const TlsServer::Request &, TlsPeer &peer) { peer.send(answer); },
                       edits)
    {
    }

    [[nodiscard]] Client client() { return pairing(deviceAt(m_server)).value(); }
    [[nodiscard]] TlsServer &server() { return m_server; }

private:
    TlsServer m_server;
};

} // namespace vorn
