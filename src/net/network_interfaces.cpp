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

constexpr std::array foreignPrefixes{// Cellular links and tunnels.
                                     "pdp_ip"sv, "utun"sv, "ipsec"sv, "ppp"sv, "gif"sv, "stf"sv,
                                     "tun"sv, "tap"sv, "wg"sv, "tailscale"sv, "zt"sv,
                                     // Containers and virtual machines.
                                     "docker"sv, "br-"sv, "virbr"sv, "veth"sv, "lxc"sv, "cni"sv,
                                     "podman"sv};

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

} // namespace

bool isLanInterface(std::string_view name, unsigned flags)
{
    return (flags & IFF_UP) != 0 && (flags & (IFF_LOOPBACK | IFF_POINTOPOINT)) == 0
           && std::ranges::none_of(
               foreignPrefixes, [&](std::string_view prefix) { return name.starts_with(prefix); });
}

std::optional<std::vector<NetworkLink>> localIPv4Links()
{
    ifaddrs *list = nullptr;
    if (::getifaddrs(&list) != 0)
        return std::nullopt;
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owner(list, &::freeifaddrs);
    std::vector<NetworkLink> links;
    for (const ifaddrs *entry = list; entry; entry = entry->ifa_next) {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET || !entry->ifa_netmask
            || !isLanInterface(entry->ifa_name, entry->ifa_flags))
            continue;
        links.push_back({.interfaceIndex = ::if_nametoindex(entry->ifa_name),
                         .address = QHostAddress(numberOf(*entry->ifa_addr)).toString(),
                         .prefixLength = std::popcount(numberOf(*entry->ifa_netmask)),
                         .hasCarrier = (entry->ifa_flags & IFF_RUNNING) != 0});
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
