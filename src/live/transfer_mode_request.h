// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/live_packet.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <chrono>
#include <cstdint>
#include <optional>

namespace vorn {

/// What the user sees of one request that a camera shares its files.
struct TransferModeRequestState {
    QString requestID;
    QString cameraID;
    QString cameraName; ///< as it was when asked
    QString message;
    bool isFailure = false; ///< the request is over and failed

    bool operator==(const TransferModeRequestState &) const = default;
};

/// A request under way, and whom an answer must come from.
struct PendingTransferRequest {
    QString cameraID;
    QString cameraName;
    QString host;        ///< dotted IPv4 address
    QString collectorID; ///< this computer's lasting identity
};

enum class TransferModeStage : std::uint8_t {
    refused, ///< not asked: the camera is offline, or an id is unusable
    sent,
    unreachable, ///< the system would not send
    noSocket,
    pending, ///< shown to the phone's user
    approved,
    declined,
    expired, ///< no decision within the request's life
};

/// The state to show. `reason` is the camera's own text for having declined, and may be empty.
[[nodiscard]] TransferModeRequestState transferModeState(TransferModeStage stage,
                                                         const QString &requestID,
                                                         const PendingTransferRequest &request,
                                                         const QString &reason = {});

/// This computer's name as a camera may show it: white space collapsed, at most 32 characters,
/// "VORN Mac" when nothing is left.
[[nodiscard]] QString cleanedCollectorName(const QString &name);

/// The datagram that asks. `sender` is this computer's identity, a UUID; `sentMs` milliseconds
/// since 1970. Absent when a value is outside its bounds.
[[nodiscard]] std::optional<QByteArray>
transferModeRequestData(const QString &sender, const QString &target, const QString &requestID,
                        const QString &collectorName, std::int64_t sentMs);

/// The requests that wait for their camera's decision.
class PendingTransferRequests {
public:
    /// How long a camera's user has to decide.
    static constexpr std::chrono::milliseconds lifetime{30'000};

    void add(const QString &requestID, const PendingTransferRequest &request);
    /// Ends a request; absent when it had ended already.
    std::optional<PendingTransferRequest> remove(const QString &requestID);
    /// What a datagram from `host` (dotted IPv4) means for the request that it answers; absent when
    /// it answers none. A decision ends the request.
    [[nodiscard]] std::optional<TransferModeRequestState>
    judge(const TransferModeResponse &response, const QString &host);

private:
    QHash<QString, PendingTransferRequest> m_requests;
};

} // namespace vorn
