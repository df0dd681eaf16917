// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/worker_thread.h"
#include "rig/transfer/announcement.h"
#include "tcp_server.h"
#include "transfer/lan_discovery.h"

#include <QByteArray>
#include <QString>

#include <map>
#include <memory>
#include <utility>

namespace vorn {

// The two kinds of services, as they are announced.
inline const QString transfer = QStringLiteral("_vorn-transfer._tcp");
inline const QString legacy = QStringLiteral("_vorn._tcp");

/// Moves the calling thread to the phones' side: what it opens from now on is opened there.
void enterPhonesSide();

/// A socket of the phones' side at `host`, of a type such as SOCK_DGRAM. Sends multicast from
/// there.
[[nodiscard]] FileDescriptor boundOnPhonesSide(int type, const QString &host, std::uint16_t port);
/// `ip` with these arguments, on the desktop's side or the phones'.
void ip(const QString &arguments);
void ipBeyond(const QString &arguments);

/// The announced services, on a thread of the phones' side.
struct AnnouncedServices {
    using Key = std::pair<QString, QString>; ///< name and type
    std::map<Key, std::unique_ptr<rig::Announcement>> announcements;
};

/// Phones that only announce themselves, on the other side of the lab's cable. All calls return at
/// once; they take effect in their order.
class PhonesSide {
public:
    PhonesSide();

    /// A phone at 10.77.0.`lastByte`.
    void announce(const QString &name, const QString &type, int lastByte, quint16 port,
                  const rig::ServiceText &text = {});
    void setText(const QString &name, const QString &type, const rig::ServiceText &text);
    /// Says goodbye.
    void withdraw(const QString &name, const QString &type);

private:
    WorkerThread<AnnouncedServices> m_thread;
};

/// What a discovery lists, in its order.
[[nodiscard]] QStringList names(const LANDiscovery &discovery);
/// Null when it is not listed.
[[nodiscard]] const DiscoveredDevice *find(const LANDiscovery &discovery, const QString &name);

/// A program that finds a daemon of the machine on the system bus would look at the machine's real
/// network. To be called before anything else looks for one.
void hideSystemBus();

} // namespace vorn
