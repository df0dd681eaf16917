// SPDX-License-Identifier: Apache-2.0

#include "live/live_discovery_worker.h"

#include "base/monotonic_clock.h"
#include "live/ports.h"
#include "net/ipv4_socket.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>
#include <variant>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace vorn {
namespace {

const auto statusGroup = u"239.255.71.42"_s;

constexpr auto firstScanAfter = 400ms;
constexpr auto scanPeriod = 15s;
constexpr auto livenessPeriod = 1s;

// Timers and requests have their turn after this many, however many more wait.
constexpr int maximumDatagramsAtOnce = 256;
// Twelve datagrams fill what the system gives by itself.
constexpr int receiveBufferBytes = 4 << 20;
// The list need not change more often than the screen can show.
constexpr auto batchPause = 33ms;

std::unique_ptr<QTimer> preciseTimer()
{
    auto timer = std::make_unique<QTimer>();
    timer->setTimerType(Qt::PreciseTimer);
    return timer;
}

} // namespace

LiveDiscoveryWorker::LiveDiscoveryWorker(std::chrono::milliseconds requestLifetime)
    : m_requestLifetime(requestLifetime), m_scan([this] {
          m_discovery.assertCurrent();
          return m_orders.udpRevision();
      })
{
    m_discovery.assertCurrent();
    connect(&m_scan, &CameraScan::answered, this, &LiveDiscoveryWorker::takeAnswer);
    connect(&m_scan, &CameraScan::finished, this, [this] {
        m_discovery.assertCurrent();
        Q_EMIT scanningChanged(false);
        if (std::exchange(m_isScanDue, false))
            beginScan();
    });
    m_batchPause.setSingleShot(true);
    m_batchPause.callOnTimeout(this, [this] {
        m_discovery.assertCurrent();
        postBatch();
    });
}

void LiveDiscoveryWorker::start()
{
    m_discovery.assertCurrent();
    openSocket();
    watchLinks();
    startScanTimer();
    startLivenessTimer();
}

void LiveDiscoveryWorker::stop()
{
    m_discovery.assertCurrent();
    m_readable.reset();
    m_socket = {};
    m_listeningSince.reset();
    m_linkWatch.reset();
    m_scanTimer.reset();
    m_livenessTimer.reset();
    if (m_scan.isRunning()) {
        m_isScanDue = false;
        m_scan.stop();
        Q_EMIT scanningChanged(false);
    }
    Q_EMIT closed();
}

void LiveDiscoveryWorker::openSocket()
{
    if (m_socket.isOpen())
        return;
    FileDescriptor socket = openUdpSocket();
    if (!socket.isOpen()) {
        Q_EMIT openFailed(u"Could not create the VORN discovery socket."_s);
        return;
    }
    if (!bindToSharedPort(socket, statusPort)) {
        Q_EMIT openFailed(u"UDP port %1 is unavailable."_s.arg(statusPort));
        return;
    }
    askForReceiveBuffer(socket, receiveBufferBytes);
    m_socket = std::move(socket);
    m_links.clear(); // none of which it has joined
    m_memberships.clear();
    m_listeningSince = MonotonicClock::now();
    followLinks();
    m_readable = std::make_unique<QSocketNotifier>(m_socket.get(), QSocketNotifier::Read);
    connect(m_readable.get(), &QSocketNotifier::activated, this, &LiveDiscoveryWorker::receive);
    Q_EMIT opened();
}

void LiveDiscoveryWorker::watchLinks()
{
    if (m_linkWatch)
        return;
    m_linkWatch = std::make_unique<LinkWatch>();
    connect(m_linkWatch.get(), &LinkWatch::changed, this, [this] {
        m_discovery.assertCurrent();
        if (followLinks())
            beginScan();
    });
}

bool LiveDiscoveryWorker::followLinks()
{
    std::optional<std::vector<NetworkLink>> links = localIPv4Links();
    if (!links || *links == m_links)
        return false;
    // What changed is left first and joined anew, so that the network is told again who listens.
    for (const NetworkLink &link : m_links) {
        if (std::ranges::find(*links, link) == links->end())
            leaveMulticastGroup(m_socket, statusGroup, link.interfaceIndex);
    }
    const std::vector<NetworkLink> before = std::exchange(m_links, *std::move(links));
    const std::vector<Membership> memberships = std::exchange(m_memberships, {});
    m_isScanDue = m_scan.isRunning(); // of the networks of before
    for (const NetworkLink &link : m_links) {
        const auto known = std::ranges::find(before, link);
        m_memberships.push_back(
            {.isJoined = joinMulticastGroup(m_socket, statusGroup, link.interfaceIndex),
             .since = known == before.end()
                          ? MonotonicClock::now()
                          : memberships[std::size_t(known - before.begin())].since});
    }
    return true;
}

void LiveDiscoveryWorker::startLivenessTimer()
{
    if (m_livenessTimer)
        return;
    m_livenessTimer = preciseTimer();
    m_livenessTimer->callOnTimeout(this, [this] { Q_EMIT ticked(); });
    m_livenessTimer->start(livenessPeriod);
}

void LiveDiscoveryWorker::startScanTimer()
{
    if (m_scanTimer)
        return;
    m_scanTimer = preciseTimer();
    m_scanTimer->callOnTimeout(this, [this] {
        m_discovery.assertCurrent();
        m_scanTimer->setInterval(scanPeriod);
        if (m_scan.isRunning() || std::exchange(m_isAskingOnline, true))
            return;
        Q_EMIT onlineAsked();
    });
    m_scanTimer->start(firstScanAfter);
}

void LiveDiscoveryWorker::scanUnlessOnline(bool isAnyOnline)
{
    m_discovery.assertCurrent();
    m_isAskingOnline = false;
    // It may have been stopped while the question was on its way.
    if (!isAnyOnline && m_scanTimer)
        rescan();
}

void LiveDiscoveryWorker::rescan()
{
    m_discovery.assertCurrent();
    followLinks();
    beginScan();
}

void LiveDiscoveryWorker::beginScan()
{
    if (m_scan.isRunning())
        return;
    std::vector<QString> addresses;
    std::ranges::transform(m_links, std::back_inserter(addresses), &NetworkLink::address);
    std::deque<QString> hosts = hostsToScan(addresses);
    m_lastScan = ScanReport{.begun = MonotonicClock::now(), .asked = hosts.size()};
    if (hosts.empty())
        return;
    Q_EMIT scanningChanged(true);
    m_scan.start(std::move(hosts));
}

void LiveDiscoveryWorker::receive()
{
    m_discovery.assertCurrent();
    // One byte more than a packet may have tells the one that is too long.
    std::array<std::byte, maximumPacketBytes + 1> buffer;
    for (int count = 0; count < maximumDatagramsAtOnce; ++count) {
        const std::optional<ReceivedDatagram> datagram = receiveDatagram(m_socket, buffer);
        if (!datagram)
            break;
        const auto received = MonotonicClock::now();
        // Whoever is listed is asked for pictures.
        const DatagramFate fate =
            isNearby(QHostAddress(datagram->host), m_links)
                ? take(std::span(buffer).first(datagram->size), datagram->host, received)
                : DatagramFate::beyond;
        m_tally.count(fate, received);
    }
    postBatch();
}

DatagramFate LiveDiscoveryWorker::take(std::span<const std::byte> data, const QString &host,
                                       MonotonicClock::time_point received)
{
    const LiveDatagram datagram = decodeDatagram(data);
    if (const auto *packet = std::get_if<LiveCameraPacket>(&datagram))
        return takeSnapshot(*packet, host, received);
    const auto *response = std::get_if<TransferModeResponse>(&datagram);
    if (!response)
        return std::get<DatagramFate>(datagram);
    auto state = m_requests.judge(*response, host);
    if (!state)
        return DatagramFate::nobodyWaiting;
    m_answered = std::move(state);
    return DatagramFate::answered;
}

DatagramFate LiveDiscoveryWorker::takeSnapshot(const LiveCameraPacket &packet, const QString &host,
                                               MonotonicClock::time_point received)
{
    // Room comes first: ids that nobody will see must not push out what is known of others.
    if (!m_batch.hasRoomFor(packet.cameraID()))
        return DatagramFate::noRoom;
    if (!m_orders.acceptDatagram(packet, received))
        return DatagramFate::outdated;
    CameraSnapshot snapshot(packet, host);
    snapshot.setClock(m_clocks.hear(packet, host, received));
    m_batch.add(std::move(snapshot));
    return DatagramFate::heard;
}

void LiveDiscoveryWorker::takeAnswer(const QString &host, const LiveCameraPacket &packet,
                                     std::uint64_t startRevision)
{
    m_discovery.assertCurrent();
    if (m_lastScan)
        ++m_lastScan->answered;
    if (!m_batch.hasRoomFor(packet.cameraID())
        || !m_orders.acceptProbe(packet, startRevision, MonotonicClock::now()))
        return;
    m_batch.add(CameraSnapshot(packet, host));
    postBatch();
}

void LiveDiscoveryWorker::postBatch()
{
    if ((m_batch.isEmpty() && !m_answered) || m_isBatchPosted || m_batchPause.isActive())
        return;
    m_isBatchPosted = true;
    m_batchPause.start(batchPause);
    Q_EMIT batchReady(m_batch.take(), std::exchange(m_answered, std::nullopt));
}

void LiveDiscoveryWorker::batchApplied(const QSet<QString> &listed)
{
    m_discovery.assertCurrent();
    m_isBatchPosted = false;
    m_batch.setListed(listed);
    postBatch();
}

void LiveDiscoveryWorker::setListed(const QSet<QString> &listed)
{
    m_discovery.assertCurrent();
    m_batch.setListed(listed);
}

void LiveDiscoveryWorker::sendRequest(const QString &requestID,
                                      const PendingTransferRequest &request, const QByteArray &data)
{
    m_discovery.assertCurrent();
    // Shown as sent by now: an older answer that still waits would take its place.
    m_answered.reset();
    if (!m_socket.isOpen()) {
        Q_EMIT requestFailed(transferModeState(TransferModeStage::noSocket, requestID, request));
        return;
    }
    if (!sendDatagram(m_socket, data, request.host, statusPort)) {
        Q_EMIT requestFailed(transferModeState(TransferModeStage::unreachable, requestID, request));
        return;
    }
    m_requests.add(requestID, request);
    QTimer::singleShot(m_requestLifetime, Qt::PreciseTimer, this,
                       [this, requestID] { expire(requestID); });
}

void LiveDiscoveryWorker::measure(const std::vector<QString> &hosts)
{
    m_discovery.assertCurrent();
    m_reach.follow(hosts);
    ListeningReport report{.made = MonotonicClock::now(),
                           .listeningSince = m_listeningSince,
                           .links = {},
                           .datagrams = m_tally.lastMinute(MonotonicClock::now()),
                           .lastScan = m_lastScan,
                           .reach = m_reach.results()};
    if (report.lastScan)
        report.lastScan->isRunning = m_scan.isRunning();
    for (std::size_t index = 0; index < m_links.size(); ++index) {
        report.links.push_back({.link = m_links[index],
                                .isJoined = m_memberships[index].isJoined,
                                .since = m_memberships[index].since});
    }
    Q_EMIT measured(report);
}

void LiveDiscoveryWorker::expire(const QString &requestID)
{
    m_discovery.assertCurrent();
    const auto request = m_requests.remove(requestID);
    if (!request)
        return;
    if (m_answered && m_answered->requestID == requestID)
        m_answered.reset();
    Q_EMIT requestExpired(transferModeState(TransferModeStage::expired, requestID, *request));
}

} // namespace vorn
