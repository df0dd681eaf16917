// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

namespace vorn {

/// A failure told in a sentence that the user may read.
class SentenceError : public std::exception {
public:
    /// The sentence, in UTF-8.
    [[nodiscard]] const char *what() const noexcept override { return m_sentence.constData(); }

protected:
    explicit SentenceError(const QString &sentence) : m_sentence(sentence.toUtf8()) {}

private:
    QByteArray m_sentence;
};

} // namespace vorn
