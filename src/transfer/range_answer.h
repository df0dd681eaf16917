// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "https/https_message.h"

#include <QString>

#include <cstdint>

namespace vorn {

/// A part of a file that is asked for.
struct FileRange {
    std::int64_t start = 0;
    std::int64_t end = 0;   ///< within
    std::int64_t total = 0; ///< bytes of the whole file
    QString sha256;         ///< of the whole file, normalised

    [[nodiscard]] std::int64_t length() const { return end - start + 1; }
};

/// Throws TransferProtocolError when no such range can be asked for.
void requireValidRange(const FileRange &range);

/// Throws TransferProtocolError unless the head is that of exactly this range of exactly this file,
/// with its length declared.
void requireAnswersRange(const HttpsHead &head, const FileRange &range);

} // namespace vorn
