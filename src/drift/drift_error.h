// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/sentence_error.h"

#include <QByteArray>
#include <QString>

namespace vorn {

/// Why a take cannot be exported. `what()` is the sentence the user sees, in UTF-8.
class DriftExportError : public SentenceError {
public:
    enum class Case {
        invalid, ///< data was found wrong
        missing, ///< something is not there
    };

    DriftExportError(Case kind, const QString &message) : SentenceError(message), m_case(kind) {}

    static DriftExportError invalid(const QString &message) { return {Case::invalid, message}; }
    static DriftExportError missing(const QString &message) { return {Case::missing, message}; }

    [[nodiscard]] Case kind() const noexcept { return m_case; }

private:
    Case m_case;
};

} // namespace vorn
