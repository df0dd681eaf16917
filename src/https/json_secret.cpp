// SPDX-License-Identifier: Apache-2.0

#include "https/json_secret.h"

#include <QChar>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string_view>

namespace vorn {
namespace {

std::size_t afterSpace(std::string_view text, std::size_t at)
{
    return std::min(text.find_first_not_of(" \t\r\n", at), text.size());
}

bool has(std::string_view text, char c, std::size_t at)
{
    return at < text.size() && text[at] == c;
}

/// What stands between the quotes of a text that begins at `at`; absent when it has no end.
std::optional<std::string_view> quoted(std::string_view text, std::size_t at)
{
    const std::size_t begin = at + 1;
    for (at = begin; at < text.size(); ++at) {
        if (text[at] == '"')
            return text.substr(begin, at - begin);
        if (text[at] == '\\')
            ++at;
    }
    return std::nullopt;
}

void appendUtf8(SecretBytes &bytes, char32_t c)
{
    const auto byte = [&](char32_t value) { bytes.push_back(char(value)); };
    const auto continuation = [&](int shift) { byte(0x80 | ((c >> shift) & 0x3F)); };
    if (c < 0x80) {
        byte(c);
    } else if (c < 0x800) {
        byte(0xC0 | (c >> 6));
        continuation(0);
    } else if (c < 0x10000) {
        byte(0xE0 | (c >> 12));
        continuation(6);
        continuation(0);
    } else {
        byte(0xF0 | (c >> 18));
        continuation(12);
        continuation(6);
        continuation(0);
    }
}

/// The four digits after "\u" at `at`.
std::optional<char16_t> codeUnit(std::string_view text, std::size_t at)
{
    constexpr std::size_t digits = 4;
    if (text.size() < at + digits)
        return std::nullopt;
    std::uint16_t unit = 0;
    const char *const end = text.data() + at + digits;
    const auto [stopped, error] = std::from_chars(text.data() + at, end, unit, 16);
    if (error != std::errc() || stopped != end)
        return std::nullopt;
    return char16_t(unit);
}

/// The character of the escape "\u" whose digits are at `at`, and moves `at` behind it.
std::optional<char32_t> escapedCharacter(std::string_view text, std::size_t &at)
{
    const auto high = codeUnit(text, at);
    if (!high || !QChar::isSurrogate(*high)) {
        at += 4;
        return high;
    }
    if (!QChar::isHighSurrogate(*high) || text.substr(at + 4, 2) != "\\u")
        return std::nullopt;
    const auto low = codeUnit(text, at + 6);
    if (!low || !QChar::isLowSurrogate(*low))
        return std::nullopt;
    at += 10;
    return QChar::surrogateToUcs4(*high, *low);
}

/// Absent when `text` holds a wrong escape or is no UTF-8.
std::optional<SecretBytes> unescaped(std::string_view text)
{
    constexpr std::string_view letters = "\"\\/bfnrt";
    constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
    if (!QByteArrayView(text).isValidUtf8())
        return std::nullopt;
    SecretBytes bytes;
    bytes.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] != '\\') {
            bytes.push_back(text[at++]);
            continue;
        }
        const char letter = at + 1 < text.size() ? text[at + 1] : '\0';
        at += 2;
        if (const std::size_t found = letters.find(letter); found != letters.npos) {
            bytes.push_back(meanings[found]);
            continue;
        }
        const auto character = letter == 'u' ? escapedCharacter(text, at) : std::nullopt;
        if (!character)
            return std::nullopt;
        appendUtf8(bytes, *character);
    }
    return bytes;
}

} // namespace

std::optional<SecretBytes> cutJsonSecret(QByteArray &document, QByteArrayView key)
{
    constexpr std::size_t quotes = 2;
    char *const text = document.data();
    const std::string_view whole(text, std::size_t(document.size()));
    std::optional<SecretBytes> secret;
    int depth = 0;
    for (std::size_t at = 0; at < whole.size();) {
        const char c = whole[at];
        depth += c == '{' || c == '[' ? 1 : 0;
        depth -= c == '}' || c == ']' ? 1 : 0;
        if (c != '"') {
            ++at;
            continue;
        }
        const auto name = quoted(whole, at);
        if (!name)
            break;
        at += name->size() + quotes;
        const std::size_t colon = afterSpace(whole, at);
        const std::size_t begin = afterSpace(whole, colon + 1);
        if (depth != 1 || !has(whole, ':', colon) || !has(whole, '"', begin)
            || unescaped(*name) != secretBytes({key}))
            continue;
        const auto value = quoted(whole, begin);
        if (!value)
            break;
        at = begin + value->size() + quotes;
        if (auto plain = unescaped(*value)) {
            secret = std::move(plain);
            wipe(text + begin, at - begin);
            std::fill(text + begin, text + at, ' ');
            text[begin] = text[begin + 1] = '"';
        }
    }
    return secret;
}

} // namespace vorn
