// SPDX-License-Identifier: Apache-2.0

#include "library/safe_identifier.h"

#include <QList>
#include <QTextBoundaryFinder>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

// What Linux file systems hold in one name, NAME_MAX.
constexpr qsizetype maximumNameBytes = 255;

bool isKept(QStringView character)
{
    if (character == u"-" || character == u"_")
        return true;
    // A letter may carry marks and joiners. But a few letters (class Prepend of UAX #29, such as
    // U+111C2) bind whatever follows into their character, a separator or a lone surrogate
    // included.
    const auto isPlain = [](char32_t codePoint) {
        return QChar::isLetterOrNumber(codePoint) || QChar::isMark(codePoint)
               || QChar::category(codePoint) == QChar::Other_Format || codePoint == U'-'
               || codePoint == U'_';
    };
    const QList<uint> codePoints = character.toUcs4();
    return QChar::isLetterOrNumber(codePoints.front()) && std::ranges::all_of(codePoints, isPlain);
}

QString trimmedHyphens(const QString &text)
{
    const auto isOther = [](QChar c) { return c != u'-'; };
    const auto first = std::ranges::find_if(text, isOther);
    const auto last = std::find_if(text.crbegin(), text.crend(), isOther).base();
    return first < last ? QString(first, last - first) : QString();
}

} // namespace

QString safeIdentifier(const QString &text)
{
    const QString lower = text.toLower();
    QString mapped;
    mapped.reserve(lower.size());
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, lower);
    for (qsizetype start = 0, end = 0; (end = finder.toNextBoundary()) >= 0; start = end) {
        const QStringView character = QStringView(lower).sliced(start, end - start);
        if (isKept(character))
            mapped += character;
        else
            mapped += u'-';
    }

    QString name = trimmedHyphens(mapped);
    if (name.toUtf8().size() <= maximumNameBytes)
        return name;
    qsizetype bytes = 0;
    QTextBoundaryFinder cut(QTextBoundaryFinder::Grapheme, name);
    qsizetype kept = 0;
    for (qsizetype end = 0; (end = cut.toNextBoundary()) >= 0; kept = end) {
        bytes += QStringView(name).sliced(kept, end - kept).toUtf8().size();
        if (bytes > maximumNameBytes)
            break;
    }
    return trimmedHyphens(name.first(kept));
}

} // namespace vorn
