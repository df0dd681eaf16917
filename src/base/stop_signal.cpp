// SPDX-License-Identifier: Apache-2.0

#include "base/stop_signal.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <cerrno>
#include <system_error>

namespace vorn {

StopSignal::StopSignal() : m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (!m_event.isOpen())
        throw std::system_error(errno, std::generic_category());
}

void StopSignal::request() const noexcept
{
    // Fails only when the counter is full, and so requested already.
    (void)::eventfd_write(m_event.get(), 1);
}

bool StopSignal::isRequested() const noexcept
{
    pollfd event{.fd = m_event.get(), .events = POLLIN, .revents = 0};
    return ::poll(&event, 1, 0) > 0;
}

} // namespace vorn
