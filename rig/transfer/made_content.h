// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/transfer/http_message.h"

#include <QString>

namespace vorn::rig {

/// Bytes without end for a synthetic clip, others for each phone and number. They cost no disk, and
/// no two chunks of 8 MiB among them are the same.
[[nodiscard]] ContentReader madeContent(int castIndex, int number);

/// SHA-256 of the first `bytes` of a content, 64 lower-case hexadecimal characters.
[[nodiscard]] QString sha256Of(const ContentReader &content, qint64 bytes);

} // namespace vorn::rig
