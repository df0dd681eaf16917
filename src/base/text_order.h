#pragma once

#include <QString>

#include <algorithm>
#include <functional>
#include <vector>

namespace vorn {

/// A before/after test of two texts by the user's language, ignoring case. Costly to make, cheap
/// to call: make one for each sort.
[[nodiscard]] std::function<bool(const QString &, const QString &)> localizedLess();

/// Sorts records by a text, with localizedLess; equal texts keep their order.
template <class Record> void sortByText(std::vector<Record> &records, QString Record::*text)
{
    const auto less = localizedLess();
    std::ranges::stable_sort(records, less, text);
}

/// True when `text` contains `part`, ignoring case. Any text contains the empty one.
[[nodiscard]] bool localizedContains(const QString &text, const QString &part);

} // namespace vorn
