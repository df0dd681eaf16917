// SPDX-License-Identifier: Apache-2.0

#include "live/camera_scan.h"

#include "live/camera_probe.h"

#include <QStringList>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace vorn {

std::vector<QString> hostsIn24(const QString &address)
{
    const QStringList pieces = address.split(u'.', Qt::SkipEmptyParts);
    if (pieces.size() != 4)
        return {};
    std::array<int, 3> network{};
    for (std::size_t i = 0; i < network.size(); ++i) {
        bool isNumber = false;
        network[i] = pieces[qsizetype(i)].toInt(&isNumber);
        if (!isNumber || network[i] < 0 || network[i] > 255)
            return {};
    }
    const auto [a, b, c] = network;
    if (a != 10 && !(a == 172 && b >= 16 && b <= 31) && !(a == 192 && b == 168))
        return {};
    std::vector<QString> hosts;
    hosts.reserve(254);
    for (int d = 1; d <= 254; ++d)
        hosts.push_back(u"%1.%2.%3.%4"_s.arg(a).arg(b).arg(c).arg(d));
    return hosts;
}

std::deque<QString> hostsToScan(const std::vector<QString> &links)
{
    std::deque<QString> hosts;
    for (const QString &link : links) {
        std::ranges::copy_if(hostsIn24(link), std::back_inserter(hosts), [&](const QString &host) {
            return std::ranges::find(links, host) == links.end();
        });
    }
    return hosts;
}

void CameraScan::start(std::deque<QString> hosts)
{
    Q_ASSERT(!isRunning());
    m_hosts = std::move(hosts);
    launchNextProbes();
}

void CameraScan::stop()
{
    m_hosts.clear();
    qDeleteAll(std::exchange(m_probes, {}));
}

void CameraScan::launchNextProbes()
{
    while (!m_hosts.empty() && m_probes.size() < maximumProbes) {
        probe(m_hosts.front());
        m_hosts.pop_front();
    }
    if (m_probes.isEmpty())
        Q_EMIT finished();
}

void CameraScan::probe(const QString &host)
{
    auto *probe = new CameraProbe(host, this);
    m_probes.insert(probe);
    const std::uint64_t startRevision = m_revision();
    connect(probe, &CameraProbe::finished, this,
            [this, probe, host, startRevision](const std::optional<LiveCameraPacket> &answer) {
                m_probes.remove(probe);
                probe->deleteLater();
                if (answer)
                    Q_EMIT answered(host, *answer, startRevision);
                launchNextProbes();
            });
}

} // namespace vorn
