// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/sentence_error.h"

namespace vorn {

/// The file is no movie that this reader understands; `what()` says why, in UTF-8.
class MediaProbeError : public SentenceError {
public:
    explicit MediaProbeError(const QString &sentence) : SentenceError(sentence) {}
};

} // namespace vorn
