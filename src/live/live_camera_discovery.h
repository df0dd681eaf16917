// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/thread_context.h"
#include "base/worker_thread.h"
#include "live/camera_list.h"
#include "live/live_camera.h"
#include "live/live_discovery_worker.h"
#include "live/transfer_mode_request.h"

#include <QObject>
#include <QString>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace vorn {

/// The cameras that are alive on the local network. Listens from the moment it is made, asks around
/// while no camera is online, and carries the request that a camera share its files. Its network
/// work is done by a LiveDiscoveryWorker on a thread of its own. Context: UI thread.
class LiveCameraDiscovery : public QObject {
    Q_OBJECT
public:
    using Clock = std::function<WallTime()>;

    /// A test may give requests a shorter life, and cameras a clock to age by.
    explicit LiveCameraDiscovery(
        QObject *parent = nullptr,
        std::chrono::milliseconds requestLifetime = PendingTransferRequests::lifetime,
        Clock clock = std::chrono::system_clock::now);

    /// In the order of their names, offline ones included.
    [[nodiscard]] const std::vector<LiveCamera> &cameras() const;
    /// By the clock that LiveCamera::lastSeen is told by.
    [[nodiscard]] WallTime now() const;
    [[nodiscard]] bool isListening() const;
    [[nodiscard]] bool isActiveScanning() const;
    /// Why the program does not listen; absent while it does.
    [[nodiscard]] const std::optional<QString> &errorMessage() const;
    /// The last request; stays until the next one replaces it.
    [[nodiscard]] const std::optional<TransferModeRequestState> &transferModeRequest() const;
    /// True when no camera has been heard for `silentAfter`, other desks not counted.
    [[nodiscard]] bool isSilent() const;
    static constexpr std::chrono::seconds silentAfter{10};
    /// Counts seconds. When it changes, cameras may have gone offline; nothing else tells.
    [[nodiscard]] std::uint64_t livenessTick() const;

    /// Listens again after stop(), or after a failure.
    void start();
    /// Listens and scans no more. What is known stays.
    void stop();
    /// Asks around at once, unless that is under way.
    void rescan();
    /// Wants measured(). Tries as well, now and then, whether the cameras that are online can be
    /// reached where their previews come from.
    void measure();
    /// Asks a camera to share its files, in the name of this computer. Gives the request's id, or
    /// nothing when the camera cannot be asked; how it goes is told by transferModeRequest().
    std::optional<QString> requestTransferMode(const LiveCamera &camera, const QString &collectorID,
                                               const QString &collectorName);

Q_SIGNALS:
    void camerasChanged();
    void isListeningChanged();
    void isActiveScanningChanged();
    void errorMessageChanged();
    void transferModeRequestChanged();
    void livenessTickChanged();
    void measured(const vorn::ListeningReport &report);

private:
    void listenTo(LiveDiscoveryWorker &worker);
    void setListening(bool isListening);
    void setActiveScanning(bool isScanning);
    void setErrorMessage(const std::optional<QString> &message);
    void setTransferModeRequest(const TransferModeRequestState &state);
    void applyBatch(const std::vector<CameraSnapshot> &snapshots,
                    const std::optional<TransferModeRequestState> &answered);
    void tick();
    [[nodiscard]] QSet<QString> listedIds() const VORN_RUNS_ON(m_ui);

    ThreadContext m_ui;
    Clock m_clock VORN_OWNED_BY(m_ui);
    CameraList m_list VORN_OWNED_BY(m_ui);
    bool m_isListening VORN_OWNED_BY(m_ui) = false;
    bool m_isActiveScanning VORN_OWNED_BY(m_ui) = false;
    std::optional<QString> m_errorMessage VORN_OWNED_BY(m_ui);
    std::optional<TransferModeRequestState> m_transferModeRequest VORN_OWNED_BY(m_ui);
    std::uint64_t m_livenessTick VORN_OWNED_BY(m_ui) = 0;
    std::uint64_t m_heardTick VORN_OWNED_BY(m_ui) = 0; ///< when a camera was heard last
    WorkerThread<LiveDiscoveryWorker> m_worker;        ///< last: ends before what it reports to
};

} // namespace vorn
