// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/film/cut_check.h"

#include <QJsonObject>
#include <QString>

namespace vorn::rig {

/// A table for the terminal.
[[nodiscard]] QString cutText(const CutCheck &check);

[[nodiscard]] QJsonObject cutJson(const CutCheck &check);

} // namespace vorn::rig
