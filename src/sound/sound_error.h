// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/sentence_error.h"

namespace vorn {

/// Why a movie cannot be listened to. `what()` is a sentence for the user, in UTF-8.
class SoundError : public SentenceError {
public:
    enum class Case {
        noListener, ///< ffmpeg is not on this computer
        unreadable, ///< the movie has no sound that can be decoded
        stopped,    ///< as was asked for
    };

    SoundError(Case kind, const QString &sentence) : SentenceError(sentence), m_case(kind) {}

    [[nodiscard]] Case kind() const noexcept { return m_case; }

private:
    Case m_case;
};

} // namespace vorn
