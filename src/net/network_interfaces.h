#pragma once

#include <QString>

#include <string_view>
#include <vector>

namespace vorn {

/// True for an interface that leads to a network of people's devices: up, neither loopback nor
/// point-to-point, and by its name no tunnel, cellular link, container or virtual machine. `flags`
/// are the system's IFF_ bits.
[[nodiscard]] bool isLanInterface(std::string_view name, unsigned flags);

/// The dotted IPv4 addresses of this computer on such interfaces, in the system's order. Empty when
/// there are none, or the system does not tell.
[[nodiscard]] std::vector<QString> localIPv4Links();

} // namespace vorn
