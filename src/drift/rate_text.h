// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace vorn::DriftEngine {

/// Frames per second from text: "30", "29.97" or "30000/1001", in the C locale. Throws
/// DriftExportError (invalid). The numerator of a ratio is not range-checked.
[[nodiscard]] double fpsValue(const QString &text);

} // namespace vorn::DriftEngine
