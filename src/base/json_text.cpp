// SPDX-License-Identifier: Apache-2.0

#include "base/json_text.h"

#include <QStringEncoder>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

/// Where the byte stands next, from `at` on; the size when nowhere. (QByteArray looks for longer
/// patterns byte by byte, which took a fifth of the reading of a large library.)
qsizetype nextOf(char byte, const QByteArray &text, qsizetype at)
{
    const void *const found =
        std::memchr(text.constData() + at, byte, std::size_t(text.size() - at));
    return found ? static_cast<const char *>(found) - text.constData() : text.size();
}

/// Escapes the U+FEFF at the beginning of each text: so written, Qt keeps it.
QByteArray withEscapedMarks(const QByteArray &json)
{
    constexpr QByteArrayView mark = "\xEF\xBB\xBF";
    QByteArray escaped;
    qsizetype copied = 0;
    for (qsizetype at = nextOf(mark[0], json, 0); at < json.size();
         at = nextOf(mark[0], json, at + 1)) {
        if (at == 0 || json[at - 1] != '"' || !QByteArrayView(json).sliced(at).startsWith(mark))
            continue;
        escaped += QByteArrayView(json).sliced(copied, at - copied);
        escaped += "\\uFEFF";
        copied = at + mark.size();
    }
    if (copied == 0)
        return json;
    escaped += QByteArrayView(json).sliced(copied);
    return escaped;
}

/// Qt reads a whole number beyond 64 bits as a double, and one that rounds to -2^63 as that whole
/// number. Here it becomes the next double below, which is none.
void lowerFalseMinima(QByteArray &json)
{
    constexpr std::string_view minimum = "9223372036854775808"; // 2^63
    constexpr std::string_view lastToRound = "9223372036854776832";
    constexpr const char *nextDouble = "9223372036854777856";
    constexpr QByteArrayView start = "-922337203685477";
    qsizetype first = nextOf('-', json, 0);
    while (first < json.size() && !QByteArrayView(json).sliced(first).startsWith(start))
        first = nextOf('-', json, first + 1);
    if (first == json.size())
        return;
    bool isInText = false;
    for (qsizetype at = 0; at < json.size(); ++at) {
        const char c = json.at(at);
        if (isInText && c == '\\') {
            ++at;
        } else if (c == '"') {
            isInText = !isInText;
        } else if (!isInText && c == '-') {
            std::string_view digits(json.constData() + at + 1, std::size_t(json.size() - at - 1));
            digits = digits.substr(0, digits.find_first_not_of("0123456789"));
            if (digits.size() == minimum.size() && digits > minimum && digits <= lastToRound)
                json.replace(at + 1, qsizetype(minimum.size()), nextDouble);
        }
    }
}

/// How much of the text's beginning stands in quotes as it is.
qsizetype plainLength(QStringView text)
{
    qsizetype at = 0;
    while (at < text.size()) {
        const QChar c = text[at];
        if (c < u' ' || c == u'"' || c == u'\\' || c == u'/')
            break;
        if (c.isSurrogate()) {
            const bool isPair =
                c.isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate();
            if (!isPair)
                break;
            ++at;
        }
        ++at;
    }
    return at;
}

void appendUtf8(QByteArray &json, QStringView text)
{
    QStringEncoder encoder(QStringEncoder::Utf8);
    const qsizetype begin = json.size();
    json.resize(begin + encoder.requiredSpace(text.size()));
    json.truncate(encoder.appendToBuffer(json.data() + begin, text) - json.constData());
}

void appendEscape(QByteArray &json, char16_t c)
{
    if (c == u'"' || c == u'\\' || c == u'/')
        json.append('\\').append(char(c));
    else
        json += "\\u" + QByteArray::number(c, 16).rightJustified(4, '0');
}

} // namespace

QJsonDocument parseJson(const QByteArray &text, QJsonParseError *error)
{
    QByteArray readable = withEscapedMarks(text);
    lowerFalseMinima(readable);
    return QJsonDocument::fromJson(readable, error);
}

QJsonObject parseJsonObject(const QByteArray &text, const QString &name)
{
    QJsonParseError error;
    const QJsonDocument document = parseJson(text, &error);
    if (error.error != QJsonParseError::NoError) {
        (void)QJsonDocument::fromJson(text, &error); // tells the place in the text as it was given
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

void appendJson(QByteArray &json, QStringView text)
{
    json += '"';
    qsizetype plain = plainLength(text);
    appendUtf8(json, text.first(plain));
    while (plain < text.size()) {
        appendEscape(json, text[plain].unicode());
        text = text.sliced(plain + 1);
        plain = plainLength(text);
        appendUtf8(json, text.first(plain));
    }
    json += '"';
}

void appendJson(QByteArray &json, double number)
{
    if (!std::isfinite(number)) {
        json += "null";
        return;
    }
    // As ECMAScript writes numbers: those of a common size without an exponent, and -0 (to which
    // 0.0 is added) as 0.
    std::array<char, 32> digits{};
    const double size = std::abs(number);
    const bool isCommon = size == 0 || (size >= 1e-4 && size < 1e15);
    const auto end = isCommon ? std::to_chars(digits.begin(), digits.end(), number + 0.0,
                                              std::chars_format::fixed)
                              : std::to_chars(digits.begin(), digits.end(), number);
    json.append(digits.data(), end.ptr - digits.data());
}

} // namespace vorn
