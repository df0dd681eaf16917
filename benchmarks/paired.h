// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <functional>

namespace vorn {

/// Median seconds of two things that were measured in turn.
struct PairedTimes {
    double ours = 0;
    double yardstick = 0;
};

/// Wall time of one call, in seconds.
[[nodiscard]] double secondsOf(const std::function<void()> &work);

/// Measures both in turn, `rounds` times after a round that does not count. Each call gives the
/// seconds it measured, and so can leave its preparations out.
[[nodiscard]] PairedTimes pairedTimes(int rounds, const std::function<double()> &ours,
                                      const std::function<double()> &yardstick);

/// Prints one row of the table: name, ours, yardstick, ratio, aim, with tabulators between.
void printRow(const QString &name, const QString &ours, const QString &yardstick,
              const QString &ratio, const QString &aim);

/// The row of a pair, in milliseconds.
void printRow(const QString &name, const PairedTimes &times, const QString &aim);

} // namespace vorn
