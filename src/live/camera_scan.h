// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/live_packet.h"

#include <QObject>
#include <QSet>
#include <QString>

#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

namespace vorn {

class CameraProbe;

/// The addresses .1 to .254 beside a private IPv4 address (RFC 1918), whatever its netmask; none
/// for any other text.
[[nodiscard]] std::vector<QString> hostsIn24(const QString &address);

/// Whom to ask when this computer has these addresses: all of their networks, without itself.
[[nodiscard]] std::deque<QString> hostsToScan(const std::vector<QString> &links);

/// Asks many hosts who they are, a few at a time. Context: the thread it is made on.
class CameraScan : public QObject {
    Q_OBJECT
public:
    static constexpr qsizetype maximumProbes = 24; ///< at once

    /// `revision` tells how many datagrams were accepted when a probe begins.
    explicit CameraScan(std::function<std::uint64_t()> revision) : m_revision(std::move(revision))
    {
    }

    [[nodiscard]] bool isRunning() const { return !m_probes.isEmpty() || !m_hosts.empty(); }
    /// Begins; a scan that runs must have ended.
    void start(std::deque<QString> hosts);
    /// Ends at once, without a word.
    void stop();

Q_SIGNALS:
    void answered(const QString &host, const vorn::LiveCameraPacket &packet,
                  std::uint64_t startRevision);
    void finished();

private:
    void launchNextProbes();
    void probe(const QString &host);

    std::function<std::uint64_t()> m_revision;
    std::deque<QString> m_hosts;  ///< not yet asked
    QSet<CameraProbe *> m_probes; ///< under way; children of this
};

} // namespace vorn
