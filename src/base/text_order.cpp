// SPDX-License-Identifier: Apache-2.0

#include "base/text_order.h"

#include <QCollator>
#include <QLocale>

#include <algorithm>
#include <memory>

namespace vorn {

std::function<bool(const QString &, const QString &)> localizedLess()
{
    // Shared: std::function wants to copy, and a collator is costly to make.
    const auto collator = std::make_shared<QCollator>();
    collator->setCaseSensitivity(Qt::CaseInsensitive);
    return [collator](const QString &a, const QString &b) { return collator->compare(a, b) < 0; };
}

QString searchForm(const QString &text)
{
    // Unicode Standard 3.13, compatibility caseless matching, with the cases of the language: a
    // Turkish "I" is no "i". A collator knows all this, but compares whole texts only. Upper case
    // makes two letters of a sharp s, which Qt's folding alone does not, but only of a small one.
    // Composed in the end, so that a letter is not found within one with an accent.
    const QLocale locale;
    // Nearly all text is plain, which only two languages case in another way, and a list has tens
    // of thousands of names.
    const bool isPlain = std::ranges::all_of(text, [](QChar c) { return c.unicode() < 0x80; });
    if (isPlain && locale.language() != QLocale::Turkish
        && locale.language() != QLocale::Azerbaijani)
        return text.toLower();
    return locale.toUpper(locale.toLower(text))
        .normalized(QString::NormalizationForm_KD)
        .toCaseFolded()
        .normalized(QString::NormalizationForm_KC);
}

} // namespace vorn
