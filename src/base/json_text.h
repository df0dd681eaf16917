// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/sentence_error.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QStringView>

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

/// Appends a text as JSON writes it: in quotes, UTF-8, a slash as "\/", half a character escaped.
void appendJson(QByteArray &json, QStringView text);

/// Appends the shortest number that reads as `number`; null for one that is not finite.
void appendJson(QByteArray &json, double number);

} // namespace vorn
