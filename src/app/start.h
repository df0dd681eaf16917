// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace vorn {

/// What to say, and the exit code, instead of starting.
struct EarlyEnd {
    QString text;
    int exitCode = 0; ///< 0 for what was asked for, 1 where the program cannot start
};

/// The answer to --help and --version, which needs no display.
[[nodiscard]] std::optional<EarlyEnd> answerToOptions(int argc, char *const *argv);

/// What is wrong with an argument that the toolkit has left.
[[nodiscard]] std::optional<EarlyEnd> faultOfArguments(const QStringList &arguments);

/// The movies that are to become a take, by absolute paths; empty where none are given.
[[nodiscard]] QStringList moviesOf(const QStringList &arguments);

/// Says it on the terminal, and gives the exit code.
[[nodiscard]] int endEarly(const EarlyEnd &end);

/// While one lives, a toolkit that finds no display ends the program with a sentence and code 1;
/// left alone, it aborts.
class DisplayWatch {
public:
    DisplayWatch();
    ~DisplayWatch();
    DisplayWatch(const DisplayWatch &) = delete;
    DisplayWatch &operator=(const DisplayWatch &) = delete;
};

} // namespace vorn
