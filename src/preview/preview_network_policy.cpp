// SPDX-License-Identifier: Apache-2.0

#include "preview/preview_network_policy.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

bool reachesPerformance(const PreviewCapabilities &camera)
{
    constexpr double leastBandGHz = 4.9;
    constexpr double leastUsableMbps = 65.0;
    return camera.isAdvertised() && camera.wifiBandGHz >= leastBandGHz
           && camera.usableMbps >= leastUsableMbps; // none is less than any number
}

} // namespace

QString id(VORNPreviewNetworkPolicy policy)
{
    switch (policy) {
    case VORNPreviewNetworkPolicy::automatic:
        break;
    case VORNPreviewNetworkPolicy::performance5GHz:
        return u"performance5GHz"_s;
    case VORNPreviewNetworkPolicy::conservative24GHz:
        return u"conservative24GHz"_s;
    }
    return u"automatic"_s;
}

QString title(VORNPreviewNetworkPolicy policy)
{
    switch (policy) {
    case VORNPreviewNetworkPolicy::automatic:
        break;
    case VORNPreviewNetworkPolicy::performance5GHz:
        return u"5 GHz Performance"_s;
    case VORNPreviewNetworkPolicy::conservative24GHz:
        return u"2.4 GHz Conservative"_s;
    }
    return u"Auto"_s;
}

QString target(VORNPreviewNetworkPolicy policy)
{
    switch (policy) {
    case VORNPreviewNetworkPolicy::automatic:
        break;
    case VORNPreviewNetworkPolicy::performance5GHz:
        return u"65–70 Mbps usable target"_s;
    case VORNPreviewNetworkPolicy::conservative24GHz:
        return u"Reduced selected streams"_s;
    }
    return u"Capability measured"_s;
}

std::optional<VORNPreviewNetworkPolicy> previewNetworkPolicy(const QString &text)
{
    const auto *const match = std::ranges::find(allPreviewNetworkPolicies, text, id);
    return match == allPreviewNetworkPolicies.end() ? std::nullopt : std::optional(*match);
}

VORNPreviewNetworkPolicy effective(VORNPreviewNetworkPolicy policy,
                                   std::span<const PreviewCapabilities> cameras)
{
    if (policy != VORNPreviewNetworkPolicy::automatic)
        return policy;
    return !cameras.empty() && std::ranges::all_of(cameras, reachesPerformance)
               ? VORNPreviewNetworkPolicy::performance5GHz
               : VORNPreviewNetworkPolicy::conservative24GHz;
}

} // namespace vorn
