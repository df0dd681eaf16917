// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <vector>

namespace vorn {

/// One step of turning a list into another, in the terms of the list as the earlier steps left it.
struct ListStep {
    enum class Kind { remove, insert, move };
    Kind kind = Kind::remove;
    qsizetype first = 0; ///< first row; for a move the row it leaves
    qsizetype count = 1; ///< rows; 1 for a move
    qsizetype source =
        0; ///< insert: index of the first row in the new list; move: row it stands at afterwards

    bool operator==(const ListStep &) const = default;
};

/// The steps from the list of keys `from` to the list `to`. Rows that are in both are never
/// removed, and as few as possible are moved. Equal keys within a list are told apart by their
/// order.
[[nodiscard]] std::vector<ListStep> listSteps(const std::vector<QString> &from,
                                              const std::vector<QString> &to);

} // namespace vorn
