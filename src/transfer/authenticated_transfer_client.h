// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/thread_context.h"
#include "https/core_dump_lock.h"
#include "https/pinned_https.h"
#include "https/secret_bytes.h"
#include "transfer/discovered_device.h"

#include <QByteArray>
#include <QCoroTask>
#include <QDateTime>
#include <QHostAddress>
#include <QString>
#include <QUrl>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace vorn {

/// What is shown of a session with a camera.
struct TransferSessionSummary {
    QString deviceId;
    QString deviceName;
    QString sessionId;
    QDateTime expiresAt;
    QString fingerprint; ///< 64 lower-case hexadecimal characters

    bool operator==(const TransferSessionSummary &) const = default;
};

/// The session of one paired camera: a bearer token, held in memory only, and one connection that
/// reaches no other origin and trusts no other certificate than the confirmed one. Lives until the
/// session expires or is ended; nothing renews it. Its requests queue on the connection.
///
/// Requests throw TransferProtocolError, and TransferConnectionError when the connection fails.
/// While one runs, the asker keeps the client. Context: UI thread.
class AuthenticatedTransferClient {
public:
    /// Pairs with a camera whose fingerprint the user has confirmed by eye. Nothing is sent before
    /// the confirmation and six digits are there. A stop that is requested on this thread
    /// ends it at once, and later the session as invalidate() does. Throws JsonError as well.
    [[nodiscard]] static QCoro::Task<std::shared_ptr<AuthenticatedTransferClient>>
    pair(DiscoveredDevice device, QString pairingCode, QString collectorId, QString collectorName,
         bool fingerprintConfirmed, std::stop_token stop = {});

    [[nodiscard]] const QString &deviceId() const { return m_summary.deviceId; }
    [[nodiscard]] const QString &deviceName() const { return m_summary.deviceName; }
    [[nodiscard]] const QString &sessionId() const { return m_summary.sessionId; }
    [[nodiscard]] const QDateTime &expiresAt() const { return m_summary.expiresAt; }
    [[nodiscard]] const QString &fingerprint() const { return m_summary.fingerprint; }
    [[nodiscard]] const QUrl &catalogURL() const { return m_catalogURL; }
    [[nodiscard]] const TransferSessionSummary &summary() const { return m_summary; }
    [[nodiscard]] bool isExpired() const;

    /// The camera's catalog as it was sent, at most 64 MiB.
    [[nodiscard]] QCoro::Task<QByteArray> fetchCatalog();

    /// Bytes `start` to `end`, both within, of a file that the catalog gives `expectedTotal` bytes
    /// and the digest `expectedSHA256`; at most TransferProtocol::chunkSize. The digest is compared
    /// with what the camera states, not with the bytes. `received` is called on this thread, at
    /// most every 100 ms, with the bytes of this range so far.
    [[nodiscard]] QCoro::Task<QByteArray>
    fetchRange(QUrl url, std::int64_t start, std::int64_t end, std::int64_t expectedTotal,
               QString expectedSHA256, std::function<void(std::int64_t)> received = {});

    /// Tells the camera that the session is over, unless it has expired, and closes. Requests that
    /// run, and all to come, fail. Never throws.
    [[nodiscard]] QCoro::Task<> end();

    /// Closes at once, without a word to the camera. Requests that run, and all to come, fail.
    void invalidate();

private:
    AuthenticatedTransferClient(TransferSessionSummary summary, QUrl catalogURL,
                                QHostAddress address, SecretBytes token,
                                std::unique_ptr<PinnedHttps> https, std::stop_token stop);

    [[nodiscard]] HttpsRequest authorizedRequest(const QUrl &url) const;

    ThreadContext m_ui;
    const TransferSessionSummary m_summary;
    const QUrl m_catalogURL;
    const QHostAddress m_address;                                   ///< where its origin is
    std::optional<CoreDumpLock> m_coreDumpLock VORN_OWNED_BY(m_ui); ///< until closed
    SecretBytes m_bearerToken VORN_OWNED_BY(m_ui);                  ///< empty when closed
    std::unique_ptr<PinnedHttps> m_https;
    std::stop_callback<std::function<void()>> m_closing;
};

} // namespace vorn
