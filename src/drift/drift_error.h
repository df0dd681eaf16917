#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

namespace vorn {

/// Why a take cannot be exported. `what()` is the sentence the user sees, in UTF-8.
class DriftExportError : public std::exception {
public:
    enum class Case {
        invalid, ///< data was found wrong
        missing, ///< something is not there
    };

    DriftExportError(Case kind, const QString &message) : m_case(kind), m_text(message.toUtf8()) {}

    static DriftExportError invalid(const QString &message) { return {Case::invalid, message}; }
    static DriftExportError missing(const QString &message) { return {Case::missing, message}; }

    [[nodiscard]] Case kind() const noexcept { return m_case; }
    [[nodiscard]] const char *what() const noexcept override { return m_text.constData(); }

private:
    Case m_case;
    QByteArray m_text;
};

} // namespace vorn
