// SPDX-License-Identifier: Apache-2.0

#include "live/live_camera_discovery.h"

#include <QUuid>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace vorn {

LiveCameraDiscovery::LiveCameraDiscovery(QObject *parent, std::chrono::milliseconds requestLifetime,
                                         Clock clock)
    : QObject(parent),
      m_clock(std::move(clock)),
      m_worker(u"live-discovery"_s, [this, requestLifetime] {
          auto worker = std::make_unique<LiveDiscoveryWorker>(requestLifetime);
          listenTo(*worker);
          return worker;
      })
{
    start();
}

/// Runs on the worker's thread: what is connected here arrives on the UI thread.
void LiveCameraDiscovery::listenTo(LiveDiscoveryWorker &worker)
{
    using Worker = LiveDiscoveryWorker;
    connect(&worker, &Worker::opened, this, [this] {
        setListening(true);
        setErrorMessage({});
    });
    connect(&worker, &Worker::openFailed, this, [this](const QString &message) {
        setErrorMessage(message);
        setListening(false);
    });
    connect(&worker, &Worker::closed, this, [this] { setListening(false); });
    connect(&worker, &Worker::scanningChanged, this, &LiveCameraDiscovery::setActiveScanning);
    connect(&worker, &Worker::onlineAsked, this, [this] {
        m_ui.assertCurrent();
        const bool isAnyOnline = m_list.isAnyOnline(now());
        m_worker.post([isAnyOnline](Worker &asking) { asking.scanUnlessOnline(isAnyOnline); });
    });
    connect(&worker, &Worker::batchReady, this, &LiveCameraDiscovery::applyBatch);
    connect(&worker, &Worker::requestFailed, this, &LiveCameraDiscovery::setTransferModeRequest);
    connect(&worker, &Worker::requestExpired, this, [this](const TransferModeRequestState &state) {
        m_ui.assertCurrent();
        if (m_transferModeRequest && m_transferModeRequest->requestID == state.requestID)
            setTransferModeRequest(state);
    });
    connect(&worker, &Worker::ticked, this, &LiveCameraDiscovery::tick);
    connect(&worker, &Worker::measured, this, &LiveCameraDiscovery::measured);
}

const std::vector<LiveCamera> &LiveCameraDiscovery::cameras() const
{
    m_ui.assertCurrent();
    return m_list.cameras();
}

WallTime LiveCameraDiscovery::now() const
{
    m_ui.assertCurrent();
    return m_clock();
}

bool LiveCameraDiscovery::isListening() const
{
    m_ui.assertCurrent();
    return m_isListening;
}

bool LiveCameraDiscovery::isActiveScanning() const
{
    m_ui.assertCurrent();
    return m_isActiveScanning;
}

const std::optional<QString> &LiveCameraDiscovery::errorMessage() const
{
    m_ui.assertCurrent();
    return m_errorMessage;
}

const std::optional<TransferModeRequestState> &LiveCameraDiscovery::transferModeRequest() const
{
    m_ui.assertCurrent();
    return m_transferModeRequest;
}

std::uint64_t LiveCameraDiscovery::livenessTick() const
{
    m_ui.assertCurrent();
    return m_livenessTick;
}

bool LiveCameraDiscovery::isSilent() const
{
    m_ui.assertCurrent();
    return m_livenessTick - m_heardTick >= std::uint64_t(silentAfter.count());
}

void LiveCameraDiscovery::start()
{
    m_ui.assertCurrent();
    m_worker.post([](LiveDiscoveryWorker &worker) { worker.start(); });
}

void LiveCameraDiscovery::stop()
{
    m_ui.assertCurrent();
    m_worker.post([](LiveDiscoveryWorker &worker) { worker.stop(); });
}

void LiveCameraDiscovery::rescan()
{
    m_ui.assertCurrent();
    m_worker.post([](LiveDiscoveryWorker &worker) { worker.rescan(); });
}

void LiveCameraDiscovery::measure()
{
    m_ui.assertCurrent();
    std::vector<QString> hosts;
    for (const LiveCamera &camera : m_list.cameras()) {
        if (camera.isOnline(now()) && !camera.isDirector())
            hosts.push_back(camera.host);
    }
    m_worker.post([hosts](LiveDiscoveryWorker &worker) { worker.measure(hosts); });
}

std::optional<QString> LiveCameraDiscovery::requestTransferMode(const LiveCamera &camera,
                                                                const QString &collectorID,
                                                                const QString &collectorName)
{
    m_ui.assertCurrent();
    QString requestID = QUuid::createUuid().toString(QUuid::WithoutBraces);
    const PendingTransferRequest request{.cameraID = camera.id,
                                         .cameraName = camera.name,
                                         .host = camera.host,
                                         .collectorID = collectorID};
    const WallTime asked = now();
    const auto sentMs =
        std::chrono::duration_cast<std::chrono::milliseconds>(asked.time_since_epoch());
    const auto data = transferModeRequestData(collectorID, camera.id, requestID,
                                              cleanedCollectorName(collectorName), sentMs.count());
    const bool isReady = camera.isOnline(asked) && data;
    const TransferModeRequestState state = transferModeState(
        isReady ? TransferModeStage::sent : TransferModeStage::refused, requestID, request);
    // Later, but before anything that the worker can say of it: the caller knows the id by then.
    QMetaObject::invokeMethod(
        this, [this, state] { setTransferModeRequest(state); }, Qt::QueuedConnection);
    if (!isReady)
        return std::nullopt;
    m_worker.post([requestID, request, data = *data](LiveDiscoveryWorker &worker) {
        worker.sendRequest(requestID, request, data);
    });
    return requestID;
}

void LiveCameraDiscovery::setListening(bool isListening)
{
    m_ui.assertCurrent();
    if (std::exchange(m_isListening, isListening) != isListening)
        Q_EMIT isListeningChanged();
}

void LiveCameraDiscovery::setActiveScanning(bool isScanning)
{
    m_ui.assertCurrent();
    if (std::exchange(m_isActiveScanning, isScanning) != isScanning)
        Q_EMIT isActiveScanningChanged();
}

void LiveCameraDiscovery::setErrorMessage(const std::optional<QString> &message)
{
    m_ui.assertCurrent();
    if (std::exchange(m_errorMessage, message) != message)
        Q_EMIT errorMessageChanged();
}

void LiveCameraDiscovery::setTransferModeRequest(const TransferModeRequestState &state)
{
    m_ui.assertCurrent();
    if (std::exchange(m_transferModeRequest, state) != state)
        Q_EMIT transferModeRequestChanged();
}

void LiveCameraDiscovery::applyBatch(const std::vector<CameraSnapshot> &snapshots,
                                     const std::optional<TransferModeRequestState> &answered)
{
    m_ui.assertCurrent();
    const WallTime heard = now();
    bool isChanged = false;
    for (const CameraSnapshot &snapshot : snapshots) {
        if (m_list.apply(snapshot, heard))
            isChanged = true;
    }
    if (std::ranges::any_of(m_list.cameras(), [heard](const LiveCamera &camera) {
            return camera.lastSeen == heard && !camera.isDirector();
        }))
        m_heardTick = m_livenessTick;
    m_worker.post(
        [listed = listedIds()](LiveDiscoveryWorker &worker) { worker.batchApplied(listed); });
    if (isChanged)
        Q_EMIT camerasChanged();
    if (answered)
        setTransferModeRequest(*answered);
}

void LiveCameraDiscovery::tick()
{
    m_ui.assertCurrent();
    if (m_list.removeExpired(now())) {
        m_worker.post(
            [listed = listedIds()](LiveDiscoveryWorker &worker) { worker.setListed(listed); });
        Q_EMIT camerasChanged();
    }
    ++m_livenessTick;
    Q_EMIT livenessTickChanged();
}

QSet<QString> LiveCameraDiscovery::listedIds() const
{
    QSet<QString> ids;
    for (const LiveCamera &camera : m_list.cameras())
        ids.insert(camera.id);
    return ids;
}

} // namespace vorn
