// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/preview_records.h"

#include <QString>

#include <array>
#include <optional>
#include <span>

namespace vorn {

/// What the network between cameras and computer is trusted with.
enum class VORNPreviewNetworkPolicy { automatic, performance5GHz, conservative24GHz };

/// In the order in which they are offered.
inline constexpr std::array allPreviewNetworkPolicies{VORNPreviewNetworkPolicy::automatic,
                                                      VORNPreviewNetworkPolicy::performance5GHz,
                                                      VORNPreviewNetworkPolicy::conservative24GHz};

/// The text by which the setting is stored.
[[nodiscard]] QString id(VORNPreviewNetworkPolicy policy);
/// What the user reads.
[[nodiscard]] QString title(VORNPreviewNetworkPolicy policy);
/// What the policy aims at, for the user.
[[nodiscard]] QString target(VORNPreviewNetworkPolicy policy);

/// The policy of that id; none for any other text.
[[nodiscard]] std::optional<VORNPreviewNetworkPolicy> previewNetworkPolicy(const QString &id);

/// The policy that `policy` comes to with cameras of these capabilities. `automatic` is
/// performance5GHz only when every camera says that it has band and rate for it.
[[nodiscard]] VORNPreviewNetworkPolicy effective(VORNPreviewNetworkPolicy policy,
                                                 std::span<const PreviewCapabilities> cameras);

} // namespace vorn
