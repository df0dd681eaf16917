// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <functional>

namespace vorn {

/// This computer's lasting identity, a UUID in lower case: the one that the support folder holds,
/// or a new one that is kept there. `complain` is told when it is not, or may not be, kept.
[[nodiscard]] QString
loadOrCreateCollectorID(const QString &supportFolder,
                        const std::function<void(const QString &sentence)> &complain);

} // namespace vorn
