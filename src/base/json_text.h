// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/sentence_error.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

namespace vorn {

/// A document is no JSON, or not the JSON that was expected. `what()` names the place and what was
/// expected there, in UTF-8: "library.json: projects[2].takes[0].timelineFPS is missing (text
/// expected)".
class JsonError : public SentenceError {
public:
    explicit JsonError(const QString &sentence) : SentenceError(sentence) {}
};

/// The document of a JSON text (RFC 8259), to the character and to the whole number; null when it
/// is none, and then `error`, if given, says why. QJsonDocument::fromJson drops the U+FEFF that a
/// text begins with, and takes whole numbers just below -2^63 for -2^63.
[[nodiscard]] QJsonDocument parseJson(const QByteArray &text, QJsonParseError *error = nullptr);

/// Reads a document whose root is an object (RFC 8259). `name` is what an error calls it. Depth is
/// bounded by Qt (1024 levels). Throws JsonError.
[[nodiscard]] QJsonObject parseJsonObject(const QByteArray &text, const QString &name);

/// The text of an object: UTF-8, one key a line in sorted order, one tab a level (blanks would
/// double a large library), a slash written "\/", a line feed at the end.
[[nodiscard]] QByteArray prettyJson(const QJsonObject &object);

/// The same as it stands inside another text, `levels` deep: without the line feed.
[[nodiscard]] QByteArray nestedJson(const QJsonObject &object, qsizetype levels);

} // namespace vorn
