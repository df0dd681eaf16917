#include "base/text_order.h"

#include <QCollator>

#include <memory>

namespace vorn {

std::function<bool(const QString &, const QString &)> localizedLess()
{
    // Shared: std::function wants to copy, and a collator is costly to make.
    const auto collator = std::make_shared<QCollator>();
    collator->setCaseSensitivity(Qt::CaseInsensitive);
    return [collator](const QString &a, const QString &b) { return collator->compare(a, b) < 0; };
}

bool localizedContains(const QString &text, const QString &part)
{
    return text.contains(part, Qt::CaseInsensitive);
}

} // namespace vorn
