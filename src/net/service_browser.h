// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/thread_context.h"
#include "base/worker_thread.h"
#include "net/resolved_service.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <vector>

namespace vorn {

class ServiceBrowserWorker;

/// Looks for services of some types on the local network (DNS-SD, RFC 6763, in the domain "local")
/// and tells where they are. Asks the machine's avahi-daemon, and the network itself where there is
/// none. A service that does not resolve within five seconds is not told of. At most 512 services,
/// with TXT records of at most 8 KiB. Context: UI thread.
class ServiceBrowser : public QObject {
    Q_OBJECT
public:
    /// Types with their trailing dots, such as "_http._tcp.".
    explicit ServiceBrowser(const QStringList &types, QObject *parent = nullptr);
    ~ServiceBrowser() override;

    /// Looks for the types that are not looked for already.
    void start();
    /// Ends, and forgets everything. Nothing is told any more, not even of before.
    void stop();
    [[nodiscard]] ServiceSource source() const;

Q_SIGNALS:
    /// Services that were resolved, also anew because something changed, or that went away; in this
    /// order.
    void changed(const std::vector<ServiceChange> &changes);
    /// A type is not looked for any more, and stop() is not the reason.
    void stopped(const QString &type);

private:
    ThreadContext m_ui;
    std::uint64_t m_run VORN_OWNED_BY(m_ui) = 0; ///< what comes from an earlier one is late
    ServiceSource m_source VORN_OWNED_BY(m_ui) = ServiceSource::none;
    WorkerThread<ServiceBrowserWorker> m_worker; ///< last: ends before what it reports to
};

} // namespace vorn
