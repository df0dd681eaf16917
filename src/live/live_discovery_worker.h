// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/files.h"
#include "base/thread_context.h"
#include "live/camera_scan.h"
#include "live/datagram_tally.h"
#include "live/listening_report.h"
#include "live/peer_snapshot_orders.h"
#include "live/phone_clocks.h"
#include "live/reach_check.h"
#include "live/snapshot_batch.h"
#include "live/transfer_mode_request.h"
#include "net/link_watch.h"
#include "net/network_interfaces.h"

#include <QObject>
#include <QSet>
#include <QSocketNotifier>
#include <QString>
#include <QTimer>

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace vorn {

/// The network's side of LiveCameraDiscovery: socket, scan, timers and requests under way. Speaks
/// by signals, which cross to the UI thread. Context: the discovery thread, where it is made.
class LiveDiscoveryWorker : public QObject {
    Q_OBJECT
public:
    explicit LiveDiscoveryWorker(std::chrono::milliseconds requestLifetime);

    /// Opens the socket, watches the links and starts the timers, whichever is not there.
    void start();
    /// Closes the socket and ends watch, timers and scan. Requests under way still expire.
    void stop();
    /// Listens on the links that are there now, and scans.
    void rescan();
    /// The answer to onlineAsked().
    void scanUnlessOnline(bool isAnyOnline);
    /// The batch has been applied; `listed` are the ids that the list holds now.
    void batchApplied(const QSet<QString> &listed);
    void setListed(const QSet<QString> &listed);
    void sendRequest(const QString &requestID, const PendingTransferRequest &request,
                     const QByteArray &data);
    /// Wants a report, and the hosts of heard cameras to be tried.
    void measure(const std::vector<QString> &hosts);

Q_SIGNALS:
    void opened();
    void openFailed(const QString &message);
    void closed();
    void scanningChanged(bool isScanning);
    /// Wants scanUnlessOnline() with whether a camera is online.
    void onlineAsked();
    /// What was heard: snapshots, and what the last answer to a request means, if one came. Wants
    /// batchApplied(); no other batch comes before.
    void batchReady(const std::vector<vorn::CameraSnapshot> &snapshots,
                    const std::optional<vorn::TransferModeRequestState> &answered);
    /// The request could not be sent.
    void requestFailed(const vorn::TransferModeRequestState &state);
    /// Nobody has decided in time. To be shown unless another request is.
    void requestExpired(const vorn::TransferModeRequestState &state);
    void ticked();
    void measured(const vorn::ListeningReport &report);

private:
    struct Membership {
        bool isJoined = false;
        MonotonicClock::time_point since;
    };

    void openSocket() VORN_RUNS_ON(m_discovery);
    void watchLinks() VORN_RUNS_ON(m_discovery);
    /// Listens on the links that are there now. False when they are those of before.
    bool followLinks() VORN_RUNS_ON(m_discovery);
    void startScanTimer() VORN_RUNS_ON(m_discovery);
    void startLivenessTimer() VORN_RUNS_ON(m_discovery);
    void beginScan() VORN_RUNS_ON(m_discovery);
    void receive();
    DatagramFate take(std::span<const std::byte> data, const QString &host,
                      MonotonicClock::time_point received) VORN_RUNS_ON(m_discovery);
    DatagramFate takeSnapshot(const LiveCameraPacket &packet, const QString &host,
                              MonotonicClock::time_point received) VORN_RUNS_ON(m_discovery);
    void takeAnswer(const QString &host, const LiveCameraPacket &packet,
                    std::uint64_t startRevision);
    void postBatch() VORN_RUNS_ON(m_discovery);
    void expire(const QString &requestID);

    ThreadContext m_discovery;
    const std::chrono::milliseconds m_requestLifetime;
    FileDescriptor m_socket VORN_OWNED_BY(m_discovery);
    std::unique_ptr<QSocketNotifier> m_readable VORN_OWNED_BY(m_discovery);
    std::unique_ptr<LinkWatch> m_linkWatch VORN_OWNED_BY(m_discovery);
    std::optional<MonotonicClock::time_point> m_listeningSince VORN_OWNED_BY(m_discovery);
    std::vector<NetworkLink> m_links VORN_OWNED_BY(m_discovery);
    std::vector<Membership> m_memberships VORN_OWNED_BY(m_discovery); ///< of each of m_links
    DatagramTally m_tally VORN_OWNED_BY(m_discovery);
    std::unique_ptr<QTimer> m_scanTimer VORN_OWNED_BY(m_discovery);
    std::unique_ptr<QTimer> m_livenessTimer VORN_OWNED_BY(m_discovery);
    PeerSnapshotOrders m_orders VORN_OWNED_BY(m_discovery);
    PhoneClocks m_clocks VORN_OWNED_BY(m_discovery);
    CameraScan m_scan VORN_OWNED_BY(m_discovery);
    std::optional<ScanReport> m_lastScan VORN_OWNED_BY(m_discovery);
    ReachCheck m_reach VORN_OWNED_BY(m_discovery);
    bool m_isScanDue VORN_OWNED_BY(m_discovery) = false; ///< once the one under way has ended
    bool m_isAskingOnline VORN_OWNED_BY(m_discovery) = false;
    SnapshotBatch m_batch VORN_OWNED_BY(m_discovery);
    std::optional<TransferModeRequestState>
        m_answered VORN_OWNED_BY(m_discovery); ///< for the batch
    bool m_isBatchPosted VORN_OWNED_BY(m_discovery) = false;
    QTimer m_batchPause VORN_OWNED_BY(m_discovery);
    PendingTransferRequests m_requests VORN_OWNED_BY(m_discovery);
};

} // namespace vorn
