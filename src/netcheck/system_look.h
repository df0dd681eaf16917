// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "net/network_interfaces.h"
#include "net/port_users.h"

#include <QString>
#include <QStringList>

#include <map>
#include <optional>
#include <vector>

namespace vorn {

/// What the system tells of itself, at one moment.
struct SystemLook {
    std::optional<std::vector<LocalInterface>> interfaces; ///< absent when it does not tell
    /// This computer's address on the way to each host, and to a neighbour on each network, which
    /// stands under this computer's own address there; empty where the system knows no way.
    std::map<QString, QString> sources;
    std::optional<std::vector<PortUser>> statusPortUsers; ///< absent when it does not tell
    QStringList firewalls;                                ///< those that are found to be on

    bool operator==(const SystemLook &) const = default;
};

/// Looks, and at the ways to these hosts (dotted). May take some milliseconds; any thread.
[[nodiscard]] SystemLook lookAtSystem(const std::vector<QString> &hosts);

/// An address beside this one on its network; empty where there is none.
[[nodiscard]] QString neighbourOf(const NetworkLink &link);

/// Whether the text of ufw's own settings says that it is on.
[[nodiscard]] bool isUfwEnabled(const QString &settings);

} // namespace vorn
