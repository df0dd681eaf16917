// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtGlobal>

namespace vorn {

inline constexpr qsizetype maximumIdBytes = 128;       ///< of a camera's or sender's id
inline constexpr qsizetype maximumRequestIdBytes = 64; ///< of a Transfer Mode request's id

} // namespace vorn
