#pragma once

#include "library/records.h"

#include <QByteArray>

#include <exception>
#include <optional>

namespace vorn {

/// Incoming records do not fit what the library knows. `what()` is the sentence the user sees.
class IdentityError : public std::exception {
public:
    explicit IdentityError(const QString &message) : m_text(message.toUtf8()) {}
    [[nodiscard]] const char *what() const noexcept override { return m_text.constData(); }

private:
    QByteArray m_text;
};

/// True when both sides state a value and the values are not the same: what only one side states is
/// no conflict.
template <class Value>
[[nodiscard]] bool differ(const std::optional<Value> &a, const std::optional<Value> &b)
{
    return a && b && *a != *b;
}

/// Puts `clip` into `take`, a take of `project`, under the identity rules: a clip id stands in one
/// take of the whole library only, a take holds one clip for each camera, and a verified local file
/// is never forgotten. `take` and `project` are the caller's working copies; `library` is searched
/// for the other projects. Throws IdentityError and then leaves `take` as it was.
void mergeClip(const VORNClip &clip, VORNTake &take, const VORNProject &project,
               const VORNLibrary &library);

/// Replaces or adds `project`, and sorts the projects by name.
void mergeProject(VORNProject project, VORNLibrary &library);

} // namespace vorn
