// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <functional>
#include <vector>

namespace vorn {

/// Median seconds of two things that were measured in turn.
struct PairedTimes {
    double ours = 0;
    double yardstick = 0;
};

/// The middle one; of an even number the upper of two.
[[nodiscard]] double median(std::vector<double> values);

/// Wall time of one call, in seconds.
[[nodiscard]] double secondsOf(const std::function<void()> &work);

/// Measures both in turn, `rounds` times after a round that does not count. Each call gives the
/// seconds it measured, and so can leave its preparations out.
[[nodiscard]] PairedTimes pairedTimes(int rounds, const std::function<double()> &ours,
                                      const std::function<double()> &yardstick);

/// Prints one row of the table, with tabulators between: name, ours, yardstick, ratio, aim. An aim
/// is
/// "<= 1.05" or "<= n^1.14" for the ratio, "<= 40 MiB" or ">= 9 /s" for what is ours, or "-".
void printRow(const QString &name, const QString &ours, const QString &yardstick,
              const QString &ratio, const QString &aim);

/// The row of a pair, in milliseconds.
void printRow(const QString &name, const PairedTimes &times, const QString &aim);

} // namespace vorn
