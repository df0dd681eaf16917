// SPDX-License-Identifier: Apache-2.0

#include "net/link_watch.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstddef>

namespace vorn {
namespace {

FileDescriptor openLinkMessages()
{
    FileDescriptor opened(
        ::socket(AF_NETLINK, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, NETLINK_ROUTE));
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR;
    if (::bind(opened.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        return {};
    return opened;
}

} // namespace

LinkWatch::LinkWatch() : m_socket(openLinkMessages())
{
    m_settling.setSingleShot(true);
    m_settling.setInterval(settling);
    connect(&m_settling, &QTimer::timeout, this, &LinkWatch::changed);
    if (!m_socket.isOpen())
        return;
    m_readable = std::make_unique<QSocketNotifier>(m_socket.get(), QSocketNotifier::Read);
    connect(m_readable.get(), &QSocketNotifier::activated, this, &LinkWatch::drain);
}

/// The messages say less than a look at the links does, and some may have been lost: that there are
/// any is enough.
void LinkWatch::drain()
{
    constexpr int maximumMessagesAtOnce = 256;
    std::array<std::byte, 256> start; // the system drops the rest of a longer one
    for (int count = 0; count < maximumMessagesAtOnce; ++count) {
        // Too many at once are an error of their own, after which it goes on.
        if (::recv(m_socket.get(), start.data(), start.size(), 0) < 0 && errno != ENOBUFS
            && errno != EINTR)
            break;
    }
    // Not begun anew by each: a link that never settles is looked at all the same.
    if (!m_settling.isActive())
        m_settling.start();
}

} // namespace vorn
