// SPDX-License-Identifier: Apache-2.0

// Usage: cold_start_timing PROGRAM YARDSTICK
// From the start of a program to its first frame, beside the same of another program. Needs a
// display; runs in the environment it is given.

#include "paired.h"

#include <QProcess>

#include <cstdio>
#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

constexpr int rounds = 9;
constexpr int timeoutMs = 30'000;

/// Seconds until Qt Quick reports a rendered frame; then the program is ended.
double secondsToFirstFrame(const QString &program)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"QT_LOGGING_RULES"_s, u"qt.scenegraph.time.renderloop.debug=true"_s);
    environment.insert(u"QT_FORCE_STDERR_LOGGING"_s, u"1"_s);
    environment.insert(u"QT_MESSAGE_PATTERN"_s, u"%{category}"_s);
    process.setProcessEnvironment(environment);
    process.setReadChannel(QProcess::StandardError);
    const double seconds = secondsOf([&] {
        process.start(program);
        while (!process.peek(1 << 20).contains("qt.scenegraph.time.renderloop")) {
            if (!process.waitForReadyRead(timeoutMs))
                throw std::runtime_error(program.toStdString() + " shows no frame.");
        }
    });
    process.kill();
    process.waitForFinished(timeoutMs);
    return seconds;
}

} // namespace

int main(int argumentCount, char *arguments[])
{
    if (argumentCount != 3) {
        std::fprintf(stderr, "Usage: %s PROGRAM YARDSTICK\n", arguments[0]);
        return 2;
    }
    try {
        const auto program = QString::fromLocal8Bit(arguments[1]);
        const auto yardstick = QString::fromLocal8Bit(arguments[2]);
        printRow(u"start to first frame"_s,
                 pairedTimes(
                     rounds, [&] { return secondsToFirstFrame(program); },
                     [&] { return secondsToFirstFrame(yardstick); }),
                 u"<= 1.60"_s);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
