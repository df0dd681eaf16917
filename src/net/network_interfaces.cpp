#include "net/network_interfaces.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>

#include <algorithm>
#include <array>
#include <memory>

using namespace std::string_view_literals;

namespace vorn {
namespace {

constexpr std::array foreignPrefixes{// Cellular links and tunnels.
                                     "pdp_ip"sv, "utun"sv, "ipsec"sv, "ppp"sv, "gif"sv, "stf"sv,
                                     "tun"sv, "tap"sv, "wg"sv, "tailscale"sv, "zt"sv,
                                     // Containers and virtual machines.
                                     "docker"sv, "br-"sv, "virbr"sv, "veth"sv, "lxc"sv, "cni"sv,
                                     "podman"sv};

} // namespace

bool isLanInterface(std::string_view name, unsigned flags)
{
    return (flags & IFF_UP) != 0 && (flags & (IFF_LOOPBACK | IFF_POINTOPOINT)) == 0
           && std::ranges::none_of(
               foreignPrefixes, [&](std::string_view prefix) { return name.starts_with(prefix); });
}

std::vector<QString> localIPv4Links()
{
    ifaddrs *list = nullptr;
    if (::getifaddrs(&list) != 0)
        return {};
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owner(list, &::freeifaddrs);
    std::vector<QString> addresses;
    for (const ifaddrs *entry = list; entry; entry = entry->ifa_next) {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET
            || !isLanInterface(entry->ifa_name, entry->ifa_flags))
            continue;
        std::array<char, INET_ADDRSTRLEN> text{};
        const auto *address = reinterpret_cast<const sockaddr_in *>(entry->ifa_addr);
        if (::inet_ntop(AF_INET, &address->sin_addr, text.data(), text.size()))
            addresses.push_back(QString::fromLatin1(text.data()));
    }
    return addresses;
}

} // namespace vorn
