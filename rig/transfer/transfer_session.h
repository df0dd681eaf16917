// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/transfer/http_message.h"

#include <QDateTime>
#include <QJsonObject>
#include <QString>

namespace vorn::rig {

/// What a phone answers to a pairing.
struct PairingOutcome {
    int status = 200;
    QJsonObject answer; ///< of status 200
    QString objection;  ///< what the phone has against the request
};

/// One stay in Transfer Mode: a code for one pairing, and what it gave.
class TransferSession {
public:
    /// The longest that a pairing may last.
    static constexpr int maximumSeconds = 900;

    /// None: nobody can pair.
    TransferSession() = default;
    TransferSession(const QString &deviceId, const QString &fingerprint);

    [[nodiscard]] const QString &sessionId() const { return m_sessionId; }
    [[nodiscard]] const QString &fingerprint() const { return m_fingerprint; }
    [[nodiscard]] const QString &code() const { return m_code; }             ///< empty: spent
    [[nodiscard]] const QString &token() const { return m_token; }           ///< empty: not paired
    [[nodiscard]] const QDateTime &expiresAt() const { return m_expiresAt; } ///< of a pairing

    /// Shows another code, for another pairing.
    void setCode(const QString &code);

    /// Answers a request to pair. A wrong code may be tried three times.
    [[nodiscard]] PairingOutcome pair(const HttpRequest &request, int seconds);
    /// What the phone told in place of its token.
    void setToken(const QString &token) { m_token = token; }

    /// Whether the request may have what only a paired computer gets.
    [[nodiscard]] bool allows(const HttpRequest &request) const;

    /// Ends what a pairing gave; the code is spent too.
    void end();

private:
    QString m_deviceId;
    QString m_sessionId;
    QString m_fingerprint;
    QString m_code;
    int m_triesLeft = 0;
    QString m_token;
    QDateTime m_expiresAt;
};

} // namespace vorn::rig
