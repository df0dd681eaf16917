// SPDX-License-Identifier: Apache-2.0
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
    // A long list is mostly in order but for what has come last.
    const auto unsorted = std::ranges::is_sorted_until(records, less, text);
    std::ranges::stable_sort(unsorted, records.end(), less, text);
    std::ranges::inplace_merge(records, unsorted, less, text);
}

/// A text as it is searched: a name contains what was typed when its search form contains that of
/// what was typed. Case, also of the user's language, and how the same letters are written in
/// Unicode make no difference; an accent does.
[[nodiscard]] QString searchForm(const QString &text);

} // namespace vorn
