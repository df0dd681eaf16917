// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/sentence_error.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace vorn {

/// What a camera said, or was asked for, breaks the rules of the transfer. `what()` is the sentence
/// the user reads, in UTF-8.
class TransferProtocolError : public SentenceError {
public:
    [[nodiscard]] static TransferProtocolError invalid(const QString &message)
    {
        return {message, std::nullopt};
    }
    /// An answer with a status that is not the expected one.
    [[nodiscard]] static TransferProtocolError http(int status)
    {
        return {QStringLiteral("Transfer server returned HTTP %1.").arg(status), status};
    }

    friend bool operator==(const TransferProtocolError &a, const TransferProtocolError &b) noexcept
    {
        return a.m_status == b.m_status && QByteArrayView(a.what()) == QByteArrayView(b.what());
    }

private:
    TransferProtocolError(const QString &message, std::optional<int> status)
        : SentenceError(message), m_status(status)
    {
    }

    std::optional<int> m_status; ///< of the case http only
};

/// Throws `invalid(message)` unless `holds`.
inline void require(bool holds, const QString &message)
{
    if (!holds)
        throw TransferProtocolError::invalid(message);
}

/// The connection itself failed: refused, cut, timed out, or the wrong certificate. `what()` is a
/// sentence for the user, in UTF-8.
class TransferConnectionError : public SentenceError {
public:
    explicit TransferConnectionError(const QString &sentence) : SentenceError(sentence) {}
};

} // namespace vorn
