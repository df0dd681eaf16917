// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace vorn {

/// Who has a UDP port open.
struct PortUser {
    bool isThisProcess = false;
    /// The program's short name as the system has it; empty where the system does not tell, as of
    /// other users' programs.
    QString program;

    bool operator==(const PortUser &) const = default;
};

/// Every socket that is bound to the UDP port, over IPv4 or IPv6, this program's own among them.
/// Absent when the system does not tell. Reads the process file system, which may take some
/// milliseconds.
[[nodiscard]] std::optional<std::vector<PortUser>> udpPortUsers(std::uint16_t port);

/// True when a process of that short name runs, as far as the system shows other users' processes.
[[nodiscard]] bool isProgramRunning(const QString &program);

} // namespace vorn
