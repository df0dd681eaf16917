#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

namespace vorn::rig {

/// The rig cannot do what was asked. `what()` is a sentence for the terminal, in UTF-8.
class RigError : public std::exception {
public:
    explicit RigError(const QString &message) : m_text(message.toUtf8()) {}
    [[nodiscard]] const char *what() const noexcept override { return m_text.constData(); }

private:
    QByteArray m_text;
};

} // namespace vorn::rig
