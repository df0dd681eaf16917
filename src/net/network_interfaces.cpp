// SPDX-License-Identifier: Apache-2.0

#include "net/network_interfaces.h"

#include <QtEndian>

#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <algorithm>
#include <array>
#include <bit>
#include <memory>
#include <utility>

using namespace std::string_view_literals;

namespace vorn {
namespace {

/// Cellular links among them.
constexpr std::array tunnelPrefixes{"pdp_ip"sv, "utun"sv,      "ipsec"sv, "ppp"sv,
                                    "gif"sv,    "stf"sv,       "tun"sv,   "tap"sv,
                                    "wg"sv,     "tailscale"sv, "zt"sv};
/// Virtual machines among them.
constexpr std::array containerPrefixes{"docker"sv, "br-"sv, "virbr"sv, "veth"sv,
                                       "lxc"sv,    "cni"sv, "podman"sv};

/// Networks that no router of the internet leads to: first address and length of the prefix.
constexpr std::array<std::pair<std::uint32_t, int>, 5> privateNetworks{{
    {0x0A00'0000, 8},  // 10.0.0.0
    {0xAC10'0000, 12}, // 172.16.0.0
    {0xC0A8'0000, 16}, // 192.168.0.0
    {0xA9FE'0000, 16}, // 169.254.0.0, link-local
    {0x7F00'0000, 8},  // 127.0.0.0, loopback
}};

std::uint32_t numberOf(const sockaddr &address)
{
    return qFromBigEndian(reinterpret_cast<const sockaddr_in &>(address).sin_addr.s_addr);
}

NetworkLink linkOf(const ifaddrs &entry)
{
    NetworkLink link;
    link.interfaceIndex = ::if_nametoindex(entry.ifa_name);
    link.name = QString::fromUtf8(entry.ifa_name);
    link.hasCarrier = (entry.ifa_flags & IFF_RUNNING) != 0;
    return link;
}

} // namespace

LinkExclusion linkExclusion(std::string_view name, unsigned flags)
{
    const auto begins = [&](std::string_view prefix) { return name.starts_with(prefix); };
    if (std::ranges::any_of(tunnelPrefixes, begins))
        return LinkExclusion::tunnel;
    if (std::ranges::any_of(containerPrefixes, begins))
        return LinkExclusion::container;
    if ((flags & IFF_LOOPBACK) != 0)
        return LinkExclusion::loopback;
    if ((flags & IFF_UP) == 0)
        return LinkExclusion::down;
    return (flags & IFF_POINTOPOINT) != 0 ? LinkExclusion::pointToPoint : LinkExclusion::none;
}

std::optional<std::vector<LocalInterface>> localInterfaces()
{
    ifaddrs *list = nullptr;
    if (::getifaddrs(&list) != 0)
        return std::nullopt;
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owner(list, &::freeifaddrs);
    std::vector<LocalInterface> interfaces;
    for (const ifaddrs *entry = list; entry; entry = entry->ifa_next) {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET || !entry->ifa_netmask)
            continue;
        NetworkLink link = linkOf(*entry);
        link.address = QHostAddress(numberOf(*entry->ifa_addr)).toString();
        link.prefixLength = std::popcount(numberOf(*entry->ifa_netmask));
        interfaces.push_back({std::move(link), linkExclusion(entry->ifa_name, entry->ifa_flags)});
    }
    for (const ifaddrs *entry = list; entry; entry = entry->ifa_next) {
        NetworkLink link = linkOf(*entry);
        if (std::ranges::any_of(interfaces, [&](const LocalInterface &other) {
                return other.link.interfaceIndex == link.interfaceIndex;
            }))
            continue;
        const LinkExclusion exclusion = linkExclusion(entry->ifa_name, entry->ifa_flags);
        interfaces.push_back({std::move(link), exclusion == LinkExclusion::none
                                                   ? LinkExclusion::noAddress
                                                   : exclusion});
    }
    return interfaces;
}

std::optional<std::vector<NetworkLink>> localIPv4Links()
{
    const auto interfaces = localInterfaces();
    if (!interfaces)
        return std::nullopt;
    std::vector<NetworkLink> links;
    for (const LocalInterface &interface : *interfaces) {
        if (interface.exclusion == LinkExclusion::none)
            links.push_back(interface.link);
    }
    return links;
}

bool isNearby(const QHostAddress &address, std::span<const NetworkLink> links)
{
    return std::ranges::any_of(privateNetworks,
                               [&](const auto &network) {
                                   return address.isInSubnet(QHostAddress(network.first),
                                                             network.second);
                               })
           || std::ranges::any_of(links, [&](const NetworkLink &link) {
                  // A prefix of no length would be the whole internet.
                  return link.prefixLength > 0
                         && address.isInSubnet(QHostAddress(link.address), link.prefixLength);
              });
}

bool isNearby(const QHostAddress &address)
{
    // Most are private, for which nobody need be asked.
    if (isNearby(address, {}))
        return true;
    const auto links = localIPv4Links();
    return links && isNearby(address, *links);
}

} // namespace vorn
