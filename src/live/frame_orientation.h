// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <cstdint>
#include <optional>

/// How a decoded preview frame is turned for display, from what its camera advertises.
namespace vorn::CameraFrameOrientation {

/// 0 to 359 degrees: -90 gives 270, 450 gives 90.
[[nodiscard]] std::int64_t normalized(std::int64_t rotation);

/// Whether "16:9" or "1920x1080" is wider than high; absent when it is neither or no two numbers.
[[nodiscard]] std::optional<bool> isLandscape(const QString &aspect);

/// The rotation to apply, 0 to 359 degrees: the advertised one, unless that is a quarter turn and
/// the image already lies the way the declared aspect says.
[[nodiscard]] std::int64_t effectiveRotation(double imageWidth, double imageHeight,
                                             const QString &declaredAspect,
                                             std::int64_t advertisedRotation);

} // namespace vorn::CameraFrameOrientation
