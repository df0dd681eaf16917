// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "https/secret_bytes.h"
#include "transfer/discovered_device.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace vorn {

/// What this computer asks a camera with.
struct PairingRequest {
    std::int64_t schemaVersion = 1;
    QString requestId;         ///< a fresh UUID in lower case
    QString collectorId;       ///< this computer's lasting identity
    QString collectorName;     ///< for people
    SecretBytes pairingCode;   ///< six digits of any script, UTF-8
    QString certificateSHA256; ///< what the user confirmed, normalised
};

/// What a camera grants.
struct PairingResponse {
    std::int64_t schemaVersion = 0;
    QString deviceId;
    QString sessionId;
    SecretBytes bearerToken; ///< UTF-8
    QString expiresAt;       ///< an ISO 8601 instant
    std::vector<QString> scopes;
    QString certificateSHA256; ///< in no particular form
    bool foregroundOnly = false;
};

/// The name that a camera is shown for this computer: `name` without surrounding white space, at
/// most 64 characters, "VORN Mac" when that leaves nothing.
[[nodiscard]] QString shownCollectorName(const QString &name);

/// The JSON body of the request. Holds the only copy of the code that is made.
[[nodiscard]] SecretBytes jsonFromRequest(const PairingRequest &request);

/// Reads an answer. The token is cut out of `body` before anything else reads it. Throws JsonError.
[[nodiscard]] PairingResponse pairingResponseFromJson(QByteArray &body);

/// An instant as cameras write it, "2026-01-31T09:30:00Z", with or without a fraction of a second
/// and an offset instead of the Z (RFC 3339); absent when it is none.
[[nodiscard]] std::optional<QDateTime> instantFromText(const QString &text);

/// Holds the answer against what the camera advertised, `fingerprint` being that of the connection,
/// and gives the end of the session. Throws TransferProtocolError.
[[nodiscard]] QDateTime checkedExpiry(const PairingResponse &response,
                                      const DiscoveredDevice &device, const QString &fingerprint,
                                      const QDateTime &now);

} // namespace vorn
