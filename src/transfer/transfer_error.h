#pragma once

#include <QByteArray>
#include <QString>

#include <exception>
#include <optional>

namespace vorn {

/// What a camera said, or was asked for, breaks the rules of the transfer. `what()` is the sentence
/// the user reads, in UTF-8.
class TransferProtocolError : public std::exception {
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

    [[nodiscard]] const char *what() const noexcept override { return m_text.constData(); }

    friend bool operator==(const TransferProtocolError &a, const TransferProtocolError &b) noexcept
    {
        return a.m_status == b.m_status && a.m_text == b.m_text;
    }

private:
    TransferProtocolError(const QString &message, std::optional<int> status)
        : m_text(message.toUtf8()), m_status(status)
    {
    }

    QByteArray m_text;
    std::optional<int> m_status; ///< of the case http only
};

/// The connection itself failed: refused, cut, timed out, or the wrong certificate. `what()` is a
/// sentence for the user, in UTF-8.
class TransferConnectionError : public std::exception {
public:
    explicit TransferConnectionError(const QString &message) : m_text(message.toUtf8()) {}
    [[nodiscard]] const char *what() const noexcept override { return m_text.constData(); }

private:
    QByteArray m_text;
};

} // namespace vorn
