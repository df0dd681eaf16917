// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringDecoder>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>

namespace vorn {

// Forms that a text from outside must have.

/// True when `text` holds 1 to `maximumBytes` bytes of UTF-8.
[[nodiscard]] inline bool isBoundedText(const QString &text, qsizetype maximumBytes)
{
    // A UTF-16 unit is one to three bytes of UTF-8: few texts need a conversion.
    if (text.isEmpty() || text.size() > maximumBytes)
        return false;
    return text.size() <= maximumBytes / 3 || text.toUtf8().size() <= maximumBytes;
}

/// The text of UTF-8 bytes, to the character; absent when they are none (RFC 3629).
[[nodiscard]] inline std::optional<QString> utf8Text(QByteArrayView bytes)
{
    using Flag = QStringDecoder::Flag;
    QStringDecoder decoder(QStringDecoder::Utf8, Flag::Stateless | Flag::ConvertInitialBom);
    QString text = decoder(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

/// A whole number as HTTP writes it (RFC 9110 section 8.6): digits only, and within 64 bits.
[[nodiscard]] inline std::optional<std::int64_t> digitsOnly(QStringView text)
{
    bool fits = false;
    const qlonglong number = text.toLongLong(&fits);
    const auto isDigit = [](QChar c) { return c >= u'0' && c <= u'9'; };
    if (!fits || !std::ranges::all_of(text, isDigit))
        return std::nullopt;
    return number;
}

/// A UUID written as RFC 4122 section 3 has it, 36 characters in either case, in lower case.
[[nodiscard]] inline std::optional<QString> canonicalUuid(const QString &text)
{
    constexpr std::string_view form = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    const auto fits = [](QChar c, char wanted) {
        const bool isDigit =
            (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
        return wanted == 'x' ? isDigit : c == u'-';
    };
    return std::ranges::equal(text, form, fits) ? std::optional(text.toLower()) : std::nullopt;
}

} // namespace vorn
