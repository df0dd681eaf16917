// SPDX-License-Identifier: Apache-2.0

#include "net/avahi_link.h"

#include <utility>

namespace vorn {

AvahiLink::AvahiLink()
{
    m_patience.setSingleShot(true);
    m_retry.setSingleShot(true);
    m_patience.callOnTimeout(this, &AvahiLink::follow);
    m_retry.callOnTimeout(this, [this] {
        connectToDaemon();
        follow();
    });
}

void AvahiLink::open()
{
    if (std::exchange(m_isOpen, true))
        return;
    if (!m_daemon)
        connectToDaemon();
    follow();
}

void AvahiLink::close()
{
    m_isOpen = false;
    m_retry.stop();
    drop(m_embedded);
    if (m_current)
        drop(m_daemon);
}

void AvahiLink::connectToDaemon()
{
    m_patience.start(daemonPatience);
    m_daemon = AvahiConnection::toDaemon(followLater());
}

// Connections tell of changes from within their own calls, where they must not be ended.
std::function<void()> AvahiLink::followLater()
{
    return [this] { QMetaObject::invokeMethod(this, &AvahiLink::follow, Qt::QueuedConnection); };
}

void AvahiLink::follow()
{
    for (auto *connection : {&m_daemon, &m_embedded}) {
        if (!*connection || !(*connection)->hasFailed())
            continue;
        drop(*connection);
        if (m_isOpen)
            m_retry.start(std::exchange(m_retryDelay, furtherRetry));
    }
    if (!m_isOpen || m_retry.isActive())
        return;
    if (m_daemon && m_daemon->isReady()) {
        m_retryDelay = firstRetry;
        drop(m_embedded);
        use(*m_daemon);
    } else if (!m_embedded && !(m_daemon && m_patience.isActive())) {
        m_embedded = AvahiConnection::embedded(followLater());
        if (m_embedded)
            use(*m_embedded);
        else
            m_retry.start(furtherRetry);
    }
}

void AvahiLink::drop(std::unique_ptr<AvahiConnection> &connection)
{
    const bool isCurrent = m_current && m_current == connection.get();
    connection.reset();
    if (!isCurrent)
        return;
    m_current = nullptr;
    Q_EMIT lost();
}

void AvahiLink::use(AvahiConnection &connection)
{
    if (m_current == &connection)
        return;
    m_current = &connection;
    Q_EMIT ready();
}

} // namespace vorn
