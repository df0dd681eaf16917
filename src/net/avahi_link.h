// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "net/avahi_connection.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <memory>

namespace vorn {

/// Keeps a connection for asking the local network: the machine's daemon where there is one, and a
/// stack of our own where there is none. Goes over to a daemon that starts later, and back when it
/// ends. Context: one thread, with its event loop; calls may wait for the daemon.
class AvahiLink : public QObject {
    Q_OBJECT
public:
    /// A daemon that is just being started is waited for.
    static constexpr std::chrono::milliseconds daemonPatience{1500};
    /// A daemon that restarts is back soon; what fails again is asked less often.
    static constexpr std::chrono::milliseconds firstRetry{100};
    static constexpr std::chrono::milliseconds furtherRetry{1000};

    AvahiLink();

    void open();
    /// Asks nobody any more. Emits lost() when there was a connection.
    void close();
    /// Null while there is none.
    [[nodiscard]] AvahiConnection *connection() const { return m_current; }
    [[nodiscard]] bool isToDaemon() const { return m_current && m_current == m_daemon.get(); }

Q_SIGNALS:
    /// There is a connection, on which nothing has been asked yet.
    void ready();
    /// The connection has ended, and with it every query.
    void lost();

private:
    void connectToDaemon();
    void follow();
    void drop(std::unique_ptr<AvahiConnection> &connection);
    void use(AvahiConnection &connection);
    [[nodiscard]] std::function<void()> followLater();

    bool m_isOpen = false;
    std::unique_ptr<AvahiConnection> m_daemon; ///< one that waits for the daemon outlives close()
    std::unique_ptr<AvahiConnection> m_embedded;
    AvahiConnection *m_current = nullptr; ///< one of the two
    QTimer m_patience;
    QTimer m_retry;
    std::chrono::milliseconds m_retryDelay = firstRetry;
};

} // namespace vorn
