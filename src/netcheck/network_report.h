// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "netcheck/network_findings.h"

#include <QDateTime>
#include <QString>

#include <vector>

namespace vorn {

/// The findings as plain text to send to somebody: one line each, with what to do below it. Headed
/// by `program` (its name and version), the system and the time. Names nobody, if the findings do
/// not.
[[nodiscard]] QString networkReport(const std::vector<NetworkFinding> &findings,
                                    const QString &program, const QDateTime &time);

} // namespace vorn
