// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/base/rig_error.h"

#include <QCommandLineParser>

#include <cstdio>

/// What the commands of vorn-rig share.
namespace vorn::rig {

enum ExitCode { done = 0, failed = 1, badInput = 2 };

/// The command line asks for what there is not.
class UsageError : public RigError {
public:
    using RigError::RigError;
};

void print(std::FILE *stream, const QString &text);

/// Parses the arguments of one command. Gives false when help was asked for, and printed. Throws
/// UsageError, as the others do.
[[nodiscard]] bool parse(QCommandLineParser &parser, const QString &command,
                         const QString &moreHelp = {});

[[nodiscard]] qint64 wholeNumber(const QCommandLineParser &parser, const QString &option,
                                 qint64 least, qint64 most);

[[nodiscard]] QString required(const QCommandLineParser &parser, const QString &option);

} // namespace vorn::rig
