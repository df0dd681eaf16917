// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QHostAddress>
#include <QString>

#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace vorn {

/// True for an interface that leads to a network of people's devices: up, neither loopback nor
/// point-to-point, and by its name no tunnel, cellular link, container or virtual machine. `flags`
/// are the system's IFF_ bits.
[[nodiscard]] bool isLanInterface(std::string_view name, unsigned flags);

/// An IPv4 address of this computer on such an interface.
struct NetworkLink {
    unsigned interfaceIndex = 0; ///< the system's; an interface that is made anew has another
    QString address;             ///< dotted
    int prefixLength = 0;        ///< of the network that it is on
    bool hasCarrier = false;     ///< a cable that is out has none, nor a Wi-Fi that is out of reach

    bool operator==(const NetworkLink &) const = default;
};

/// In the system's order. Absent when the system does not tell, as when no descriptor is left.
[[nodiscard]] std::optional<std::vector<NetworkLink>> localIPv4Links();

/// True for an IPv4 address that may be a phone's: on the network of one of `links`, or for private
/// use (RFC 1918), link-local (RFC 3927) or loopback. No other is ever spoken to: what strangers
/// announce must not make this computer call somebody on the internet.
[[nodiscard]] bool isNearby(const QHostAddress &address, std::span<const NetworkLink> links);

/// The same, with the links as they are now.
[[nodiscard]] bool isNearby(const QHostAddress &address);

} // namespace vorn
