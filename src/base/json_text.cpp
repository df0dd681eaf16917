#include "base/json_text.h"

#include <QJsonDocument>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vorn {

QJsonObject parseJsonObject(const QByteArray &text, const QString &name)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError) {
        // In an unfinished text Qt's offset is one past the end.
        const qsizetype read = std::min(qsizetype(error.offset), text.size());
        const qsizetype line = 1 + QByteArrayView(text).first(read).count('\n');
        throw JsonError(u"%1 is not valid JSON: %2 at line %3, byte %4"_s.arg(
            name, error.errorString(), QString::number(line), QString::number(read)));
    }
    if (!document.isObject())
        throw JsonError(u"%1: an object was expected at the root"_s.arg(name));
    return document.object();
}

QByteArray prettyJson(const QJsonObject &object)
{
    constexpr qsizetype qtIndent = 4;
    const QByteArray indented = QJsonDocument(object).toJson(QJsonDocument::Indented);
    QByteArray text;
    text.reserve(indented.size());
    bool isLineStart = true;
    qsizetype blanks = 0;
    for (const char c : indented) {
        if (isLineStart && c == ' ') {
            if (++blanks % qtIndent == 0)
                text += '\t';
            continue;
        }
        // A line feed or a slash inside a text: the one is always escaped, the other never.
        if (c == '/')
            text += '\\';
        text += c;
        isLineStart = c == '\n';
        blanks = 0;
    }
    return text;
}

} // namespace vorn
