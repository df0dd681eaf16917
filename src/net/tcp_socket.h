// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/files.h"
#include "base/monotonic_clock.h"
#include "base/stop_signal.h"

#include <QString>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace vorn {

/// One TCP connection of a thread that may block. Every wait ends at its limit, and at once when
/// `stop`, which must outlive the socket, is requested.
class TcpSocket {
public:
    /// Connects to a dotted IPv4 address within `limit`, which then holds for each wait of the
    /// connection. None when that fails or is stopped.
    [[nodiscard]] static std::optional<TcpSocket> connect(const QString &host, std::uint16_t port,
                                                          std::chrono::milliseconds limit,
                                                          const StopSignal &stop);

    /// False unless the byte was taken.
    [[nodiscard]] bool send(std::byte byte);

    /// Waits for bytes, no longer than until `deadline`, and takes what is there. Gives how many;
    /// 0 when the peer has closed, the connection failed, time is up, or a stop was requested.
    [[nodiscard]] std::size_t receive(std::span<std::byte> into,
                                      MonotonicClock::time_point deadline);

private:
    TcpSocket(FileDescriptor socket, std::chrono::milliseconds limit, const StopSignal &stop)
        : m_socket(std::move(socket)), m_limit(limit), m_stop(&stop)
    {
    }

    [[nodiscard]] bool waitFor(short events, MonotonicClock::time_point deadline);

    FileDescriptor m_socket;
    std::chrono::milliseconds m_limit;
    const StopSignal *m_stop;
};

} // namespace vorn
