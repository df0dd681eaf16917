// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "live/live_camera.h"
#include "preview/preview_profile.h"

#include <QString>

#include <optional>

namespace vorn {

/// A number with so many decimals, in any locale with a point: what printf's "%.1f" gives in C.
[[nodiscard]] QString fixedText(double value, int decimals);

// What the status rows say about one camera, which is null when there is none.

/// The Wi-Fi link as the camera sees it: band and rate, or as much as it tells of them.
[[nodiscard]] QString selectedLinkStatus(const LiveCamera *camera, WallTime now);
/// What the camera's preview server sends at the moment.
[[nodiscard]] QString advertisedTransportStatus(const LiveCamera *camera, WallTime now);
/// What holds the camera's previews back.
[[nodiscard]] QString previewHealthStatus(const LiveCamera *camera, WallTime now);
/// How the frames of one profile come; `transport` is absent before the first one.
[[nodiscard]] QString transportStatus(VORNPreviewProfile profile, const LiveCamera *camera,
                                      std::optional<Transport> transport);
[[nodiscard]] QString h264Status(const LiveCamera *camera, WallTime now);
[[nodiscard]] QString fullStream4KStatus(const LiveCamera *camera, WallTime now);

} // namespace vorn
