// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QHostAddress>
#include <QString>

#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace vorn {

/// Why an interface does not lead to a network of people's devices; `none` for one that does.
enum class LinkExclusion { none, tunnel, container, loopback, down, pointToPoint, noAddress };

/// Tunnels, cellular links, containers and virtual machines are told by their names. `flags` are
/// the system's IFF_ bits.
[[nodiscard]] LinkExclusion linkExclusion(std::string_view name, unsigned flags);

/// An IPv4 address of this computer.
struct NetworkLink {
    unsigned interfaceIndex = 0; ///< the system's; an interface that is made anew has another
    QString name;                ///< the interface's
    QString address;             ///< dotted
    int prefixLength = 0;        ///< of the network that it is on
    bool hasCarrier = false;     ///< a cable that is out has none, nor a Wi-Fi that is out of reach

    bool operator==(const NetworkLink &) const = default;
};

/// An interface of this computer with one of its addresses, or with an empty one.
struct LocalInterface {
    NetworkLink link;
    LinkExclusion exclusion = LinkExclusion::none;

    bool operator==(const LocalInterface &) const = default;
};

/// All there are, those without an address last. Absent when the system does not tell, as when no
/// descriptor is left.
[[nodiscard]] std::optional<std::vector<LocalInterface>> localInterfaces();

/// The addresses on interfaces that are not excluded, in the system's order; absent as above.
[[nodiscard]] std::optional<std::vector<NetworkLink>> localIPv4Links();

/// True for an IPv4 address that may be a phone's: on the network of one of `links`, or for private
/// use (RFC 1918), link-local (RFC 3927) or loopback. No other is ever spoken to: what strangers
/// announce must not make this computer call somebody on the internet.
[[nodiscard]] bool isNearby(const QHostAddress &address, std::span<const NetworkLink> links);

/// The same, with the links as they are now.
[[nodiscard]] bool isNearby(const QHostAddress &address);

} // namespace vorn
