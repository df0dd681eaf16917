// SPDX-License-Identifier: Apache-2.0

#include "base/display_text.h"

#include <QList>

#include <algorithm>
#include <array>
#include <utility>

namespace vorn {
namespace {

constexpr char32_t zeroWidthNonJoiner = 0x200C;
constexpr char32_t zeroWidthJoiner = 0x200D;
constexpr char32_t virama = 9; // canonical combining class, Unicode Standard 4.3

// Characters that draw nothing though they are no controls: combining grapheme joiner, Hangul and
// Khmer fillers, Mongolian and other variation selectors, invisible operators, the Braille blank.
constexpr std::array<std::pair<char32_t, char32_t>, 11> invisibleRanges{{
    {0x00AD, 0x00AD},
    {0x034F, 0x034F},
    {0x115F, 0x1160},
    {0x17B4, 0x17B5},
    {0x180B, 0x180F},
    {0x2060, 0x206F},
    {0x2800, 0x2800},
    {0x3164, 0x3164},
    {0xFE00, 0xFE0F},
    {0xFFA0, 0xFFA0},
    {0xE0000, 0xE0FFF},
}};

bool isInvisible(char32_t c)
{
    for (const auto &[first, last] : invisibleRanges) {
        if (c >= first && c <= last)
            return true;
    }
    switch (QChar::category(c)) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Other_Surrogate:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

bool isPictograph(char32_t c)
{
    const auto category = QChar::category(c);
    return !isInvisible(c)
           && (category == QChar::Symbol_Other || category == QChar::Symbol_Math || c == 0x203C
               || c == 0x2049 || (c >= 0x1F000 && c <= 0x1FAFF));
}

bool isOnKeypad(char32_t c)
{
    return (c >= '0' && c <= '9') || c == '#' || c == '*';
}

bool isEmojiVariation(char32_t c)
{
    return c == 0xFE0E || c == 0xFE0F;
}

// RFC 5892, appendices A.1 and A.2: where letters need a joiner to be written properly.
bool joinsLetters(char32_t before, char32_t joiner, char32_t after)
{
    if (QChar::combiningClass(before) == virama)
        return true;
    const auto left = QChar::joiningType(before);
    const auto right = QChar::joiningType(after);
    return joiner == zeroWidthNonJoiner
           && (left == QChar::Joining_Left || left == QChar::Joining_Dual)
           && (right == QChar::Joining_Right || right == QChar::Joining_Dual);
}

bool belongs(char32_t before, char32_t c, char32_t after)
{
    if (isEmojiVariation(c))
        return isPictograph(before) || (after == 0x20E3 && isOnKeypad(before));
    if (c == zeroWidthJoiner && (isPictograph(before) || isEmojiVariation(before))
        && isPictograph(after))
        return true;
    return (c == zeroWidthNonJoiner || c == zeroWidthJoiner) && joinsLetters(before, c, after);
}

bool isPrintableAscii(QChar c)
{
    return c >= u' ' && c <= u'~';
}

QString visibleMark(char32_t c)
{
    if (c < 0x20)
        return QChar(char16_t(0x2400 + c)); // control pictures
    if (c == 0x7F)
        return QChar(u'\u2421');
    return QStringLiteral("\u27E8U+%1\u27E9")
        .arg(QString::number(uint(c), 16).toUpper().rightJustified(4, u'0'));
}

} // namespace

QString displayText(const QString &text, qsizetype maximum)
{
    // Nearly all text is plain, and a library has tens of thousands of names.
    if (text.size() <= maximum && std::ranges::all_of(text, isPrintableAscii))
        return text;
    QString shown;
    shown.reserve(qMin(text.size(), 2 * maximum));
    qsizetype count = 0;
    char32_t before = 0;
    const auto codePoints = QStringView(text).left(2 * maximum + 2).toUcs4();
    for (qsizetype i = 0; i < codePoints.size(); ++i, ++count) {
        if (count == maximum)
            return shown + u'\u2026';
        const char32_t c = codePoints[i];
        const char32_t after = i + 1 < codePoints.size() ? codePoints[i + 1] : 0;
        const bool isMarked = isInvisible(c) && !belongs(before, c, after);
        if (isMarked)
            shown += visibleMark(c);
        else
            shown += QChar::fromUcs4(c);
        before = isMarked ? 0 : c; // nothing belongs to what is not drawn
    }
    return shown;
}

} // namespace vorn
