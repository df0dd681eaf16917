// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/sentence_error.h"

#include <QByteArray>
#include <QString>

namespace vorn::rig {

/// The rig cannot do what was asked. `what()` is a sentence for the terminal, in UTF-8.
class RigError : public SentenceError {
public:
    explicit RigError(const QString &sentence) : SentenceError(sentence) {}
};

} // namespace vorn::rig
